// A sleeping lock in one 32-bit word: the three-state mutex of U. Drepper, "Futexes Are Tricky" (2011), section 6.
//
// No wake-up is lost. A waiter writes `contended` before it sleeps, and the kernel lets it sleep only if the word
// still holds `contended`; whoever takes `contended` away by unlocking wakes one sleeper. A waiter that gets the
// lock leaves `contended` in the word, since it can't know whether others sleep: at worst one wake-up finds nobody.
#include "platform/core.h"
#include "platform/keep_errno.h"

#include <atomic>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t unlocked = 0;  // what a zeroed lock holds
constexpr std::uint32_t locked = 1;    // taken, and nobody sleeps
constexpr std::uint32_t contended = 2; // taken, and somebody may sleep

// Returns at once if the word isn't `expected`; may also return for no reason, so the caller looks again.
void sleep_while(std::uint32_t* word, std::uint32_t expected) {
    const KeepErrno keep_errno;
    syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, expected, nullptr);
}

void wake_one(std::uint32_t* word) {
    const KeepErrno keep_errno;
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1);
}

} // namespace

void nvo_serv_lock(NvoServLock* lock) {
    const std::atomic_ref word(lock->word);
    std::uint32_t seen = unlocked;
    if (word.compare_exchange_strong(seen, locked, std::memory_order_acquire, std::memory_order_relaxed)) return;
    while (word.exchange(contended, std::memory_order_acquire) != unlocked) sleep_while(&lock->word, contended);
}

void nvo_serv_unlock(NvoServLock* lock) {
    const std::atomic_ref word(lock->word);
    if (word.exchange(unlocked, std::memory_order_release) == contended) wake_one(&lock->word);
}
