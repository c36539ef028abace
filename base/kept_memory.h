// Memory that is never released on purpose.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELTRANA_LEAK_CHECKER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define VELTRANA_LEAK_CHECKER
#endif

#ifdef VELTRANA_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

// Tells the leak checker of a sanitizer build that this block, which may be null, stays for good.
inline void keep_for_good(const void* block) {
#ifdef VELTRANA_LEAK_CHECKER
  __lsan_ignore_object(block);
#else
  static_cast<void>(block);
#endif
}
