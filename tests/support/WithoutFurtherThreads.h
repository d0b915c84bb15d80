#pragma once

#include <cstddef>
#include <pthread.h>

namespace lumivert {

/// While it lives no further thread can be made: none has room for such a stack.
class WithoutFurtherThreads {
public:
    WithoutFurtherThreads() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 50);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~WithoutFurtherThreads() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    WithoutFurtherThreads(const WithoutFurtherThreads&) = delete;
    WithoutFurtherThreads& operator=(const WithoutFurtherThreads&) = delete;

private:
    pthread_attr_t m_before;
};

} // namespace lumivert
