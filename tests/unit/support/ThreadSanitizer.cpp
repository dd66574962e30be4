#if defined(__SANITIZE_THREAD__)

// A worker holds its two mutexes for its whole run and takes one of them anew at the end of each
// activation wait, the other still held. No other thread ever takes both, so this cannot lock up;
// the sanitizer's deadlock detector, which looks at the order alone, is told so. Data races are
// reported as ever.
extern "C" const char* __tsan_default_suppressions() {
  return "deadlock:waitUntilActive\n";
}

#endif
