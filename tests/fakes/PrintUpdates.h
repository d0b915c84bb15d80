#pragma once

#include "platform/Updates.h"

#include <ostream>

// What a failed expectation shows of update outcomes.
namespace lumivert {

inline void PrintTo(const UpdateFailed& failure, std::ostream* out) {
    *out << "failure " << static_cast<int>(failure.problem) << " \"" << failure.details << '"';
}
inline void PrintTo(const UpdateNotNeeded& current, std::ostream* out) {
    *out << "up to date " << current.installedVersion;
}
inline void PrintTo(const AvailableUpdate& update, std::ostream* out) {
    *out << update.id << ' ' << update.installedVersion << " -> " << update.version << " \""
         << update.changes << '"';
}
inline void PrintTo(const UpdateInstalled& installed, std::ostream* out) {
    *out << "installed " << installed.version;
}

} // namespace lumivert
