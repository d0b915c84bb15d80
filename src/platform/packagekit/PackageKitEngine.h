#pragma once

#include "platform/UpdateEngine.h"

#include <memory>
#include <string>

namespace lumivert {

/// Updates through the system's PackageKit service: it knows the repositories and checks their
/// signatures, polkit grants the rights. Nothing is connected before the first piece of work.
class PackageKitEngine : public UpdateEngine {
public:
    /// `packageName`: the package that this program is installed as. `busAddress`: empty for the
    /// system's bus.
    explicit PackageKitEngine(std::string packageName, std::string busAddress = {});
    /// Cancels a check; an installation goes on without the program.
    ~PackageKitEngine() override;

    void check(UpdateCheckKind kind, OnProgress onProgress,
               std::function<void(const UpdateCheckOutcome&)> onDone) override;
    void cancelCheck() override;
    void install(const AvailableUpdate& update, OnProgress onProgress,
                 std::function<void(const UpdateInstallOutcome&)> onDone) override;

private:
    class Work;
    std::unique_ptr<Work> m_work;
};

} // namespace lumivert
