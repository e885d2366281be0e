// Slot detection with the one-second wait as a parameter, so the retry rule
// can be exercised without waiting.
#ifndef TAVEL_SYSTEM_SLOT_H
#define TAVEL_SYSTEM_SLOT_H

#include <functional>

namespace tavel {
namespace slot {

// getDetectedSlot with sleep_one_second called in place of each 1 s wait.
unsigned int detectSlot(unsigned int reintentos, const std::function<void()>& sleep_one_second);

// The real wait: a nanosleep of 1 s, resumed with the remaining time when
// interrupted.
void sleepOneSecond();

} // namespace slot
} // namespace tavel

#endif
