#pragma once

#include <cerrno>

namespace lumivert {

/// Repeats `call` while a signal interrupts it; its last result, -1 with errno set for a failure.
template <class Call>
auto retryingInterrupts(Call call) {
    while (true) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

} // namespace lumivert
