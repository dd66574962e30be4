// Lets the daemon's files fail, or take their time, on command.
//
// THERMAL_FAULTS names a directory of orders. The order NAME.read concerns every read of a file of
// that name, NAME.write every write: its text, "ERRNO MILLISECONDS", is how the call fails and how
// long it takes before; with 0 for ERRNO it is then carried out. NAME.read.once and NAME.write.once
// concern one call, and go before the others: the call that obeys begins by deleting the order.
//
// A write refused here has passed the capture, if that was preloaded first.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using ReadFunction = ssize_t (*)(int, void*, size_t);
using PreadFunction = ssize_t (*)(int, void*, size_t, off_t);
using WriteFunction = ssize_t (*)(int, const void*, size_t);
using WritevFunction = ssize_t (*)(int, const iovec*, int);
using FopenFunction = FILE* (*)(const char*, const char*);

constexpr size_t kMaxPath = 4096;

template <typename Function> Function find(void* where, const char* name) {
  return reinterpret_cast<Function>(dlsym(where, name));
}

ssize_t readReally(int descriptor, void* data, size_t size) {
  static const auto realRead = find<ReadFunction>(RTLD_NEXT, "read");
  return realRead(descriptor, data, size);
}

struct Order {
  int error = 0;
  long milliseconds = 0;
};

bool readOrder(const char* path, Order& order) {
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  char text[64] = {};
  readReally(descriptor, text, sizeof text - 1);
  close(descriptor);
  return sscanf(text, "%d %ld", &order.error, &order.milliseconds) == 2;
}

bool nameOf(int descriptor, char* path, const char*& name) {
  char link[32];
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = readlink(link, path, kMaxPath - 1);
  if (length <= 0) return false;
  path[length] = '\0';
  const char* slash = strrchr(path, '/');
  if (slash == nullptr) return false;
  name = slash + 1;
  return true;
}

bool findOrder(int descriptor, const char* operation, Order& order) {
  static const char* const directory = getenv("THERMAL_FAULTS");
  char path[kMaxPath];
  const char* name = nullptr;
  if (directory == nullptr || !nameOf(descriptor, path, name)) return false;
  char file[2 * kMaxPath];
  snprintf(file, sizeof file, "%s/%s.%s.once", directory, name, operation);
  if (readOrder(file, order) && unlink(file) == 0) return true;
  snprintf(file, sizeof file, "%s/%s.%s", directory, name, operation);
  return readOrder(file, order);
}

// Obeys the order for this call, if there is one; false, with errno set, if the call has to fail.
bool mayGoOn(int descriptor, const char* operation) {
  const int before = errno;
  Order order;
  if (findOrder(descriptor, operation, order)) {
    const timespec wait{order.milliseconds / 1000, order.milliseconds % 1000 * 1000000};
    nanosleep(&wait, nullptr);
  }
  errno = order.error == 0 ? before : order.error;
  return order.error == 0;
}

// A stream of the C library calls the kernel where no one can stand in between, so it becomes one
// whose calls come through here. It keeps the stream it replaces for its descriptor.

int descriptorOf(void* stream) {
  return fileno(static_cast<FILE*>(stream));
}

ssize_t readStream(void* stream, char* data, size_t size) {
  static const auto firstRead = find<ReadFunction>(RTLD_DEFAULT, "read");
  return firstRead(descriptorOf(stream), data, size);
}

ssize_t writeStream(void* stream, const char* data, size_t size) {
  static const auto firstWrite = find<WriteFunction>(RTLD_DEFAULT, "write");
  const ssize_t written = firstWrite(descriptorOf(stream), data, size);
  return written < 0 ? 0 : written;
}

int seekStream(void* stream, off64_t* offset, int whence) {
  const off64_t reached = lseek64(descriptorOf(stream), *offset, whence);
  if (reached < 0) return -1;
  *offset = reached;
  return 0;
}

int closeStream(void* stream) {
  return fclose(static_cast<FILE*>(stream));
}

} // namespace

// libstdc++ reads and writes its streams with these three.

extern "C" __attribute__((visibility("default"))) ssize_t read(int descriptor, void* data,
                                                               size_t size) {
  return mayGoOn(descriptor, "read") ? readReally(descriptor, data, size) : -1;
}

// The daemon's own looks at its control files.
extern "C" __attribute__((visibility("default"))) ssize_t pread(int descriptor, void* data,
                                                                size_t size, off_t offset) {
  static const auto realPread = find<PreadFunction>(RTLD_NEXT, "pread");
  return mayGoOn(descriptor, "read") ? realPread(descriptor, data, size, offset) : -1;
}

extern "C" __attribute__((visibility("default"))) ssize_t write(int descriptor, const void* data,
                                                                size_t size) {
  static const auto realWrite = find<WriteFunction>(RTLD_NEXT, "write");
  return mayGoOn(descriptor, "write") ? realWrite(descriptor, data, size) : -1;
}

extern "C" __attribute__((visibility("default"))) ssize_t writev(int descriptor,
                                                                 const iovec* pieces, int count) {
  static const auto realWritev = find<WritevFunction>(RTLD_NEXT, "writev");
  return mayGoOn(descriptor, "write") ? realWritev(descriptor, pieces, count) : -1;
}

// libc++ opens its streams with this one. (libstdc++ opens them with fopen64, and for the
// descriptor alone.)
extern "C" __attribute__((visibility("default"))) FILE* fopen(const char* path, const char* mode) {
  static const auto realFopen = find<FopenFunction>(RTLD_NEXT, "fopen");
  FILE* replaced = realFopen(path, mode);
  if (replaced == nullptr || getenv("THERMAL_FAULTS") == nullptr) return replaced;
  return fopencookie(replaced, mode, {readStream, writeStream, seekStream, closeStream});
}
