// The interposer behind RealtimeGuard.h. The allocation functions forward to
// glibc's internal entry points (__libc_malloc & co.), the others to the next
// definition found by dlsym; nothing here allocates, locks or prints.
#include "tests/reliability/RealtimeGuard.h"

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace zkrel::rt {
namespace {

thread_local bool armed = false;
std::atomic<unsigned long> counts[kKindCount];
std::atomic<void*> firstCallers[kKindCount];

inline void Note(Kind k, void* caller) {
    if (!armed) {
        return;
    }
    const auto i = static_cast<std::size_t>(k);
    counts[i].fetch_add(1, std::memory_order_relaxed);
    void* none = nullptr;
    firstCallers[i].compare_exchange_strong(none, caller, std::memory_order_relaxed);
}

template <class F> F Next(const char* name, const char* version = nullptr) {
    void* p = version ? dlvsym(RTLD_NEXT, name, version) : dlsym(RTLD_NEXT, name);
    if (p == nullptr) {
        std::abort();
    }
    return reinterpret_cast<F>(p);
}

using MutexFn = int (*)(pthread_mutex_t*);
using SemFn = int (*)(sem_t*);
using SemTimedFn = int (*)(sem_t*, const timespec*);
using CondWaitFn = int (*)(pthread_cond_t*, pthread_mutex_t*);
using CondTimedFn = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
using NanosleepFn = int (*)(const timespec*, timespec*);
using ClockNanosleepFn = int (*)(clockid_t, int, const timespec*, timespec*);
using UsleepFn = int (*)(useconds_t);
using SleepFn = unsigned (*)(unsigned);

struct Real {
    MutexFn lock = Next<MutexFn>("pthread_mutex_lock");
    MutexFn trylock = Next<MutexFn>("pthread_mutex_trylock");
    SemFn semWait = Next<SemFn>("sem_wait");
    SemTimedFn semTimedWait = Next<SemTimedFn>("sem_timedwait");
    CondWaitFn condWait = Next<CondWaitFn>("pthread_cond_wait", "GLIBC_2.3.2");
    CondTimedFn condTimedWait = Next<CondTimedFn>("pthread_cond_timedwait", "GLIBC_2.3.2");
    NanosleepFn nanosleep = Next<NanosleepFn>("nanosleep");
    ClockNanosleepFn clockNanosleep = Next<ClockNanosleepFn>("clock_nanosleep");
    UsleepFn usleep = Next<UsleepFn>("usleep");
    SleepFn sleep = Next<SleepFn>("sleep");
};

// Resolved on first use (which may come before static initialisation).
const Real& R() {
    static const Real real;
    return real;
}

void* Aligned(std::size_t alignment, std::size_t size) {
    return __libc_memalign(alignment, size);
}

} // namespace

void Arm() {
    R(); // resolve outside the armed region
    armed = true;
}
void Disarm() {
    armed = false;
}

void Clear() {
    for (std::size_t k = 0; k < kKindCount; ++k) {
        counts[k].store(0);
        firstCallers[k].store(nullptr);
    }
}

Report Take() {
    Report r;
    for (std::size_t k = 0; k < kKindCount; ++k) {
        r.count[k] = counts[k].load();
        if (void* p = firstCallers[k].load()) {
            Dl_info info{};
            if (dladdr(p, &info) != 0 && info.dli_sname != nullptr) {
                r.firstCaller[k] = info.dli_sname;
            } else {
                r.firstCaller[k] = info.dli_fname != nullptr ? info.dli_fname : "?";
            }
        }
    }
    return r;
}

unsigned long Report::Total() const {
    unsigned long t = 0;
    for (std::size_t k = 0; k < kKindCount; ++k) {
        t += static_cast<Kind>(k) == Kind::TryLock ? 0 : count[k];
    }
    return t;
}

std::string Report::Describe() const {
    static const char* const kNames[] = {"allocations", "releases", "locks",
                                         "waits",       "sleeps",   "try-locks"};
    std::string s;
    for (std::size_t k = 0; k < kKindCount; ++k) {
        s += std::string(kNames[k]) + " " + std::to_string(count[k]);
        if (!firstCaller[k].empty()) {
            s += " (first from " + firstCaller[k] + ")";
        }
        s += k + 1 < kKindCount ? ", " : "";
    }
    return s;
}

} // namespace zkrel::rt

using zkrel::rt::Note;
#define ZK_CALLER __builtin_return_address(0)

// The counted allocation and release behind malloc, free, new and delete.
namespace {
void* Allocate(std::size_t n, std::size_t alignment, void* caller) {
    Note(zkrel::rt::Kind::Allocate, caller);
    n = n != 0 ? n : 1;
    return alignment != 0 ? zkrel::rt::Aligned(alignment, n) : __libc_malloc(n);
}
void* AllocateOrThrow(std::size_t n, std::size_t alignment, void* caller) {
    if (void* p = Allocate(n, alignment, caller)) {
        return p;
    }
    throw std::bad_alloc();
}
void Release(void* p, void* caller) {
    if (p != nullptr) {
        Note(zkrel::rt::Kind::Release, caller);
    }
    __libc_free(p);
}
} // namespace

extern "C" {

void* malloc(std::size_t n) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    return __libc_malloc(n);
}
void* calloc(std::size_t n, std::size_t size) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    return __libc_calloc(n, size);
}
void* realloc(void* p, std::size_t n) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    return __libc_realloc(p, n);
}
void free(void* p) {
    Release(p, ZK_CALLER);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    return zkrel::rt::Aligned(alignment, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    return zkrel::rt::Aligned(alignment, size);
}
int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
    Note(zkrel::rt::Kind::Allocate, ZK_CALLER);
    void* p = zkrel::rt::Aligned(alignment, size);
    if (p == nullptr) {
        return 12; // ENOMEM
    }
    *out = p;
    return 0;
}

int pthread_mutex_lock(pthread_mutex_t* m) {
    Note(zkrel::rt::Kind::Lock, ZK_CALLER);
    return zkrel::rt::R().lock(m);
}
int pthread_mutex_trylock(pthread_mutex_t* m) {
    Note(zkrel::rt::Kind::TryLock, ZK_CALLER);
    return zkrel::rt::R().trylock(m);
}
int sem_wait(sem_t* s) {
    Note(zkrel::rt::Kind::Wait, ZK_CALLER);
    return zkrel::rt::R().semWait(s);
}
int sem_timedwait(sem_t* s, const timespec* t) {
    Note(zkrel::rt::Kind::Wait, ZK_CALLER);
    return zkrel::rt::R().semTimedWait(s, t);
}
int pthread_cond_wait(pthread_cond_t* c, pthread_mutex_t* m) {
    Note(zkrel::rt::Kind::Wait, ZK_CALLER);
    return zkrel::rt::R().condWait(c, m);
}
int pthread_cond_timedwait(pthread_cond_t* c, pthread_mutex_t* m, const timespec* t) {
    Note(zkrel::rt::Kind::Wait, ZK_CALLER);
    return zkrel::rt::R().condTimedWait(c, m, t);
}
int nanosleep(const timespec* t, timespec* rest) {
    Note(zkrel::rt::Kind::Sleep, ZK_CALLER);
    return zkrel::rt::R().nanosleep(t, rest);
}
int clock_nanosleep(clockid_t clock, int flags, const timespec* t, timespec* rest) {
    Note(zkrel::rt::Kind::Sleep, ZK_CALLER);
    return zkrel::rt::R().clockNanosleep(clock, flags, t, rest);
}
int usleep(useconds_t us) {
    Note(zkrel::rt::Kind::Sleep, ZK_CALLER);
    return zkrel::rt::R().usleep(us);
}
unsigned sleep(unsigned s) {
    Note(zkrel::rt::Kind::Sleep, ZK_CALLER);
    return zkrel::rt::R().sleep(s);
}

} // extern "C"

// The replaceable C++ allocation functions.

void* operator new(std::size_t n) {
    return AllocateOrThrow(n, 0, ZK_CALLER);
}
void* operator new[](std::size_t n) {
    return AllocateOrThrow(n, 0, ZK_CALLER);
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    return Allocate(n, 0, ZK_CALLER);
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
    return Allocate(n, 0, ZK_CALLER);
}
void* operator new(std::size_t n, std::align_val_t a) {
    return AllocateOrThrow(n, static_cast<std::size_t>(a), ZK_CALLER);
}
void* operator new[](std::size_t n, std::align_val_t a) {
    return AllocateOrThrow(n, static_cast<std::size_t>(a), ZK_CALLER);
}
void operator delete(void* p) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete[](void* p) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete(void* p, std::size_t) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete[](void* p, std::size_t) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete(void* p, std::align_val_t) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    Release(p, ZK_CALLER);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
    Release(p, ZK_CALLER);
}
