#pragma once

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <system_error>

#include "file/Litter.h"

// Writes to an open file, and knows why it could not.
//
// Errors: the first one stays in `error`, and nothing more is written.
class FileBuffer : public std::streambuf {
public:
  explicit FileBuffer(int fd_) : fd(fd_) {}

  std::error_code error() const { return failure; }

protected:
  std::streamsize xsputn(const char* text, std::streamsize length) override;
  int_type overflow(int_type character) override;

private:
  const int fd;
  std::error_code failure;
};

// Files of one folder that are written beside their places, under hidden names, and put there all
// together at the end. Until then whatever stood there stays as it was; without that end nothing is
// left of them, nor of a folder that was made for them.
//
// Shape:  a file that replaces another has its mode, and as far as the system allows its owner.
// Errors: the first one, as "PATH: cannot be written: REASON". What the disk refuses late is told by
//         `putInPlace`, which then puts none.
class OutputFiles {
public:
  // Makes the folder, if need be.
  explicit OutputFiles(std::filesystem::path folder);
  ~OutputFiles();
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  // The stream is good as long as this.
  std::ostream& add(const std::string& name);

  // The stream, one of these, could not be given all.
  void fail(const std::ostream& stream, std::error_code error);

  std::optional<std::string> failure() const;
  std::optional<std::string> putInPlace();

private:
  // One of the files; without a descriptor where it could not be opened.
  struct File {
    explicit File(std::filesystem::path place);

    std::error_code open();
    std::error_code close();

    std::filesystem::path place;
    int fd = -1;
    std::optional<Litter> written;
    std::optional<FileBuffer> buffer;
    std::ostream stream{nullptr};
  };

  void makeFolders(const std::filesystem::path& path);
  void note(const std::filesystem::path& path, std::error_code error);

  std::filesystem::path folder;
  std::deque<Litter> folders;
  std::deque<File> files;
  std::string firstFailure;
};

// Why a file could not be written there, known before there is anything to write.
std::optional<std::string> standsInTheWay(const std::filesystem::path& file);
