// In builds with the address sanitizer: what holds for every program, however it is started.

// A cancelled thread leaves the marks around the variables of its functions on its stack: the
// sanitizer clears them when an exception unwinds the stack, and not when pthread_cancel does. What
// runs there next, such as the destructors on the way out, would be reported. With this option the
// variables are kept, with their marks, elsewhere, and use after return is found as well.
extern "C" const char* __asan_default_options() { return "detect_stack_use_after_return=1"; }
