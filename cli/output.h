// Output to a file descriptor through a std::ostream, remembering why a write
// failed so that the program can say so ("No space left on device").
#pragma once

#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

namespace treeout_cli {

// A write that failed; main adds the file's name and the reason.
class OutputError : public std::runtime_error {
 public:
  OutputError() : std::runtime_error("cannot write the output") {}
};

// Throws OutputError when `out` has failed.
void CheckOutput(std::ostream& out);

// A buffered stream buffer over an open descriptor (not closed by it). After a
// failed write every later write fails too and Error() holds the errno.
class FdBuffer : public std::streambuf {
 public:
  explicit FdBuffer(int fd);
  ~FdBuffer() override;
  FdBuffer(FdBuffer const&) = delete;
  FdBuffer& operator=(FdBuffer const&) = delete;
  int Error() const { return fnError; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(char const* text, std::streamsize count) override;
  int sync() override;

 private:
  bool WriteAll(char const* text, std::size_t size);
  bool Drain();

  int fnFd;
  int fnError = 0;
  std::vector<char> fnBuffer;
};

}  // namespace treeout_cli
