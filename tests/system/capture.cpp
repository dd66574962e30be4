// Records what the daemon tells the world, in the order in which it happens.
//
// Preloaded, it stands in for the Android log and in front of the C library's output functions, and
// appends one JSON line per event to the file that THERMAL_CAPTURE names:
//   {"kind":"log","time":NS,"thread":ID,"priority":2,"tag":"...","data":"HEX"}
//   {"kind":"write","time":NS,"thread":ID,"offset":N,"path":"...","data":"HEX"}
// Data beyond 4096 bytes are cut. A line is written whole with one system call on a file in append
// mode, so those of several threads never mix. Only writes to regular files count (an attribute of
// sysfs is one), and not those to the standard streams.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace {

constexpr size_t kMaxData = 4096;
constexpr size_t kMaxRecord = 2 * kMaxData + 4352;

using WriteFunction = ssize_t (*)(int, const void*, size_t);
using WritevFunction = ssize_t (*)(int, const iovec*, int);
using FwriteFunction = size_t (*)(const void*, size_t, size_t, FILE*);

template <typename Function> Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int recordFile() {
  static const int descriptor = [] {
    const char* path = getenv("THERMAL_CAPTURE");
    return path == nullptr ? -1 : open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  }();
  return descriptor;
}

long long nowNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

// Appends "HEX"} to the record in `line` and writes it out.
void finish(char* line, size_t length, const void* data, size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (size_t i = 0; i < size && i < kMaxData; ++i) {
    line[length++] = kDigits[bytes[i] >> 4];
    line[length++] = kDigits[bytes[i] & 15];
  }
  memcpy(line + length, "\"}\n", 3);
  // The system call itself: write() is ours.
  syscall(SYS_write, recordFile(), line, length + 3);
}

bool pathOfRegularFile(int descriptor, char* path, size_t size) {
  struct stat status;
  if (recordFile() < 0 || descriptor <= STDERR_FILENO || fstat(descriptor, &status) != 0 ||
      !S_ISREG(status.st_mode)) {
    return false;
  }
  char link[32];
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = readlink(link, path, size - 1);
  path[length < 0 ? 0 : length] = '\0';
  return length > 0;
}

void recordWrite(int descriptor, off_t offset, const void* data, size_t size) {
  char path[4096];
  if (size == 0 || !pathOfRegularFile(descriptor, path, sizeof path)) {
    return;
  }
  char line[kMaxRecord];
  const int length =
      snprintf(line, sizeof line,
               R"({"kind":"write","time":%lld,"thread":%ld,"offset":%lld,"path":"%s","data":")",
               nowNanoseconds(), syscall(SYS_gettid), static_cast<long long>(offset), path);
  finish(line, static_cast<size_t>(length), data, size);
}

} // namespace

extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int
__android_log_print(int priority, const char* tag, const char* format, ...) {
  char text[kMaxData];
  va_list arguments;
  va_start(arguments, format);
  const int size = vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (recordFile() < 0 || size < 0) {
    return size;
  }
  char line[kMaxRecord];
  const int length =
      snprintf(line, sizeof line,
               R"({"kind":"log","time":%lld,"thread":%ld,"priority":%d,"tag":"%s","data":")",
               nowNanoseconds(), syscall(SYS_gettid), priority, tag);
  finish(line, static_cast<size_t>(length), text, strnlen(text, sizeof text));
  return size;
}

// libstdc++ writes its streams with these two.

extern "C" __attribute__((visibility("default"))) ssize_t write(int descriptor, const void* data,
                                                                size_t size) {
  static const auto realWrite = next<WriteFunction>("write");
  const off_t offset = lseek(descriptor, 0, SEEK_CUR);
  const ssize_t result = realWrite(descriptor, data, size);
  recordWrite(descriptor, offset, data, size);
  return result;
}

extern "C" __attribute__((visibility("default"))) ssize_t writev(int descriptor,
                                                                 const iovec* pieces, int count) {
  static const auto realWritev = next<WritevFunction>("writev");
  const off_t offset = lseek(descriptor, 0, SEEK_CUR);
  const ssize_t result = realWritev(descriptor, pieces, count);
  char data[kMaxData];
  size_t size = 0;
  for (int i = 0; i < count; ++i) {
    const size_t room = sizeof data - size;
    const size_t taken = pieces[i].iov_len < room ? pieces[i].iov_len : room;
    memcpy(data + size, pieces[i].iov_base, taken);
    size += taken;
  }
  recordWrite(descriptor, offset, data, size);
  return result;
}

// libc++ writes its streams with this one, one text often in several pieces (and empty ones), which
// the C library gathers until the stream is flushed.
extern "C" __attribute__((visibility("default"))) size_t fwrite(const void* data, size_t size,
                                                                size_t count, FILE* file) {
  static const auto realFwrite = next<FwriteFunction>("fwrite");
  const off_t offset = ftello(file);
  const size_t result = realFwrite(data, size, count, file);
  recordWrite(fileno(file), offset, data, size * count);
  return result;
}
