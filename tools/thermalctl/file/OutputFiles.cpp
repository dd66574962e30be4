#include "file/OutputFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string_view>

#include "file/FileHandle.h"

namespace fs = std::filesystem;

namespace {

constexpr mode_t kNewFile = 0666; // less the umask
constexpr mode_t kNewFolder = 0777;

// Nobody else's, as long as this process lives.
std::string besides(const fs::path& place) {
  return (place.parent_path() /
          ("." + place.filename().string() + "." + std::to_string(::getpid())))
      .string();
}

// A file may be replaced, and so may a link to anything. A device or a pipe may not.
std::error_code replaceable(const fs::path& place) {
  struct stat old = {};
  if (::lstat(place.c_str(), &old) != 0) return {};
  if (S_ISREG(old.st_mode) || S_ISLNK(old.st_mode)) return {};
  return std::make_error_code(S_ISDIR(old.st_mode) ? std::errc::is_a_directory
                                                   : std::errc::operation_not_permitted);
}

void takeOverRights(int fd, const fs::path& place) {
  struct stat old = {};
  if (::stat(place.c_str(), &old) != 0 || !S_ISREG(old.st_mode)) return;
  // Only root gives a file away.
  const bool isOwner = ::fchown(fd, old.st_uid, old.st_gid) == 0;
  static_cast<void>(isOwner);
  ::fchmod(fd, old.st_mode & kModeBits);
}

} // namespace

std::streamsize FileBuffer::xsputn(const char* text, std::streamsize length) {
  if (!failure) failure = writeAll(fd, {text, static_cast<size_t>(length)});
  return failure ? 0 : length;
}

FileBuffer::int_type FileBuffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return 0;
  const char one = traits_type::to_char_type(character);
  return xsputn(&one, 1) == 1 ? character : traits_type::eof();
}

OutputFiles::File::File(fs::path place_) : place(std::move(place_)) {}

std::error_code OutputFiles::File::open() {
  if (const auto error = replaceable(place)) return error;
  // In the folder of its place, since only within a file system a name can be changed at once.
  const std::string name = besides(place);
  {
    const NoSignals both;
    fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFile);
    if (fd < 0) return lastError();
    written.emplace(name);
  }
  takeOverRights(fd, place);
  buffer.emplace(fd);
  stream.rdbuf(&*buffer);
  return {};
}

std::error_code OutputFiles::File::close() {
  if (fd < 0) return {};
  const std::error_code closing = outcome(::close(fd));
  fd = -1;
  return buffer->error() ? buffer->error() : closing;
}

OutputFiles::OutputFiles(fs::path folder_) : folder(std::move(folder_)) {
  // A process that is allowed no larger file shall be told so, too, and not be ended.
  std::signal(SIGXFSZ, SIG_IGN);
  makeFolders(folder);
}

OutputFiles::~OutputFiles() {
  for (File& file : files)
    file.close();
  files.clear();
  // The inner ones first, which are empty by now.
  while (!folders.empty())
    folders.pop_back();
}

std::ostream& OutputFiles::add(const std::string& name) {
  File& file = files.emplace_back(folder / name);
  if (firstFailure.empty()) note(file.place, file.open());
  return file.stream;
}

void OutputFiles::fail(const std::ostream& stream, std::error_code error) {
  for (const File& file : files)
    if (&file.stream == &stream) note(file.place, error);
}

std::optional<std::string> OutputFiles::failure() const {
  return firstFailure.empty() ? std::nullopt : std::optional(firstFailure);
}

std::optional<std::string> OutputFiles::putInPlace() {
  for (File& file : files)
    note(file.place, file.close());
  if (!firstFailure.empty()) return firstFailure;
  // No signal comes between two of them: old and new ones would stand side by side.
  const NoSignals allOrNone;
  for (File& file : files) {
    note(file.place, outcome(::rename(file.written->path().c_str(), file.place.c_str())));
    if (!firstFailure.empty()) return firstFailure;
    file.written->keep();
  }
  for (Litter& made : folders)
    made.keep();
  return std::nullopt;
}

void OutputFiles::makeFolders(const fs::path& path) {
  std::error_code error;
  if (path.empty() || fs::is_directory(path, error)) return;
  makeFolders(path.parent_path() == path ? fs::path() : path.parent_path());
  if (!firstFailure.empty() || fs::is_directory(path, error)) return;
  const NoSignals both;
  if (::mkdir(path.c_str(), kNewFolder) == 0)
    folders.emplace_back(path.string());
  else
    note(path, lastError());
}

void OutputFiles::note(const fs::path& path, std::error_code error) {
  if (error && firstFailure.empty())
    firstFailure = path.string() + ": cannot be written: " + error.message();
}

std::optional<std::string> standsInTheWay(const fs::path& file) {
  std::error_code ignored;
  if (fs::is_directory(file, ignored))
    return file.string() + ": cannot be written: " + std::generic_category().message(EISDIR);
  OutputFiles probe(file.has_parent_path() ? file.parent_path() : ".");
  probe.add(file.filename());
  return probe.failure();
}
