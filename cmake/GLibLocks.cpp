// Only in builds for ThreadSanitizer: tells it what GLib's locks and queues order. They are futexes
// inside a library that is not built for it, so that it would take every buffer that libvips hands
// from one thread to another for a race. Each function stands before GLib's own of its name.
#include <dlfcn.h>
#include <glib.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// GLib's own function behind the one of this file.
template <class Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define NEXT(function) static const auto own = next(&function, #function)

extern "C" {

void g_mutex_lock(GMutex* mutex) {
    NEXT(g_mutex_lock);
    own(mutex);
    __tsan_acquire(mutex);
}

gboolean g_mutex_trylock(GMutex* mutex) {
    NEXT(g_mutex_trylock);
    const gboolean locked = own(mutex);
    if (locked)
        __tsan_acquire(mutex);
    return locked;
}

void g_mutex_unlock(GMutex* mutex) {
    NEXT(g_mutex_unlock);
    __tsan_release(mutex);
    own(mutex);
}

void g_rec_mutex_lock(GRecMutex* mutex) {
    NEXT(g_rec_mutex_lock);
    own(mutex);
    __tsan_acquire(mutex);
}

void g_rec_mutex_unlock(GRecMutex* mutex) {
    NEXT(g_rec_mutex_unlock);
    __tsan_release(mutex);
    own(mutex);
}

void g_cond_wait(GCond* condition, GMutex* mutex) {
    NEXT(g_cond_wait);
    __tsan_release(mutex);
    own(condition, mutex);
    __tsan_acquire(mutex);
}

gboolean g_cond_wait_until(GCond* condition, GMutex* mutex, gint64 end) {
    NEXT(g_cond_wait_until);
    __tsan_release(mutex);
    const gboolean signalled = own(condition, mutex, end);
    __tsan_acquire(mutex);
    return signalled;
}

void g_async_queue_push(GAsyncQueue* queue, gpointer item) {
    NEXT(g_async_queue_push);
    __tsan_release(queue);
    own(queue, item);
}

gpointer g_async_queue_pop(GAsyncQueue* queue) {
    NEXT(g_async_queue_pop);
    const gpointer item = own(queue);
    __tsan_acquire(queue);
    return item;
}

gpointer g_async_queue_timeout_pop(GAsyncQueue* queue, guint64 timeout) {
    NEXT(g_async_queue_timeout_pop);
    const gpointer item = own(queue, timeout);
    __tsan_acquire(queue);
    return item;
}
}
