#pragma once

#include <lcms2.h>

#include <memory>
#include <type_traits>

// Owners of what Little CMS hands out.
namespace lumivert::lcms {

template <class Handle, auto close>
struct Closer {
    void operator()(Handle handle) const { close(handle); }
};
using Context =
    std::unique_ptr<std::remove_pointer_t<cmsContext>, Closer<cmsContext, &cmsDeleteContext>>;
using Profile = std::unique_ptr<void, Closer<cmsHPROFILE, &cmsCloseProfile>>;
using Transform = std::unique_ptr<void, Closer<cmsHTRANSFORM, &cmsDeleteTransform>>;

/// A context of one's own: the errors that hostile bytes make stay out of every other use of the
/// library, and go nowhere. Null where there is no memory.
inline Context silentContext() {
    Context context(cmsCreateContext(nullptr, nullptr));
    if (context)
        cmsSetLogErrorHandlerTHR(context.get(), [](cmsContext, cmsUInt32Number, const char*) {});
    return context;
}

} // namespace lumivert::lcms
