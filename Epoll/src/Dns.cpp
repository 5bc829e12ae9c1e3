#include <arpa/inet.h>
#include <netdb.h>
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <string>

#include "Common/ThreadSafety.h"
#include "Epoll.h"

namespace {

constexpr unsigned long kNoAddress = ~0UL;
constexpr size_t kResolverStack = 512 * 1024;
constexpr std::chrono::seconds kResolveLimit(5);

// One look-up. Shared by the caller and the resolving thread, which may outlive its caller's
// patience.
struct LookUp {
    std::string host;
    Mutex lock;
    std::condition_variable done;
    bool finished GUARDED_BY(lock) = false;
    unsigned long address GUARDED_BY(lock) = kNoAddress;
};

unsigned long Resolve(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) {
        return kNoAddress;
    }
    const auto* addr = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    const unsigned long address = addr->sin_addr.s_addr;
    ::freeaddrinfo(found);
    return address;
}

void* ResolveRoutine(void* argument) {
    const std::unique_ptr<std::shared_ptr<LookUp>> own(
        static_cast<std::shared_ptr<LookUp>*>(argument));
    LookUp& lookUp = **own;
    const unsigned long address = Resolve(lookUp.host);
    const LockGuard guard(lookUp.lock);
    lookUp.address = address;
    lookUp.finished = true;
    lookUp.done.notify_one();
    return nullptr;
}

bool StartResolver(const std::shared_ptr<LookUp>& lookUp) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setstacksize(&attributes, kResolverStack);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    auto argument = std::make_unique<std::shared_ptr<LookUp>>(lookUp);
    pthread_t thread;
    const bool started = pthread_create(&thread, &attributes, ResolveRoutine, argument.get()) == 0;
    if (started) static_cast<void>(argument.release());  // the thread's now
    pthread_attr_destroy(&attributes);
    return started;
}

}  // namespace

// An address in digits needs no look-up. Who gives up leaves the thread to itself: the resolver has
// time-outs of its own and cannot be ended, and what it finds late goes with the last owner.
unsigned long dns2ip(const char* host) {
    if (host == nullptr) return kNoAddress;
    in_addr address{};
    if (::inet_pton(AF_INET, host, &address) == 1) return address.s_addr;
    auto lookUp = std::make_shared<LookUp>();
    lookUp->host = host;
    if (!StartResolver(lookUp)) return kNoAddress;
    LookUp& shared = *lookUp;
    WaitLock guard(shared.lock);
    const auto finished = [&shared]() NEEDS_LOCK(shared.lock) { return shared.finished; };
    shared.done.wait_for(guard, kResolveLimit, finished);
    return shared.address;
}
