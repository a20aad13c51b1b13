// What poe_card asks of ThreadSanitizer when it is built with it.
//
// SUPPRESSED: races inside GLib and umockdev. The distribution's builds of them
// are not instrumented, so ThreadSanitizer sees the memory they touch through the
// C library and not the atomics and futexes that guard it. Their frames stand in
// a report only for such a call; races of our own code have none and are reported.
#if defined(__SANITIZE_THREAD__)

extern "C" {

const char* __tsan_default_suppressions() {
  return "race:libglib-2.0.so\n"
         "race:libgobject-2.0.so\n"
         "race:libgio-2.0.so\n"
         "race:libumockdev.so\n";
}

// GLib's worker thread never ends; without this every run would be waited for a
// second.
const char* __tsan_default_options() {
  return "atexit_sleep_ms=0";
}
}

#endif
