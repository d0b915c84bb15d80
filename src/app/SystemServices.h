#pragma once

#include "app/LumivertApp.h"

#include <memory>

namespace lumivert {

/// The real services, owned: this machine's files, processes and desktop, and the decoder that lies
/// beside the program. Made after the QApplication, destroyed after the LumivertApp.
class SystemServices {
public:
    SystemServices();
    ~SystemServices();

    [[nodiscard]] AppServices appServices();

private:
    struct Owned;
    std::unique_ptr<Owned> m_owned;
};

} // namespace lumivert
