#include "cli/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ostream>

namespace treeout_cli {

void CheckOutput(std::ostream& out) {
  if (!out) throw OutputError();
}

FdBuffer::FdBuffer(int fd) : fnFd(fd), fnBuffer(64 * 1024) {
  setp(fnBuffer.data(), fnBuffer.data() + fnBuffer.size());
}

FdBuffer::~FdBuffer() { Drain(); }

bool FdBuffer::WriteAll(char const* text, std::size_t size) {
  while (size > 0 && fnError == 0) {
    ssize_t const written = ::write(fnFd, text, size);
    if (written < 0) {
      if (errno != EINTR) fnError = errno;
      continue;
    }
    text += written;
    size -= static_cast<std::size_t>(written);
  }
  return fnError == 0;
}

// Writes what the buffer holds and empties it.
bool FdBuffer::Drain() {
  bool const ok = WriteAll(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  setp(fnBuffer.data(), fnBuffer.data() + fnBuffer.size());
  return ok;
}

FdBuffer::int_type FdBuffer::overflow(int_type c) {
  if (!Drain()) return traits_type::eof();
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

std::streamsize FdBuffer::xsputn(char const* text, std::streamsize count) {
  std::size_t const size = static_cast<std::size_t>(count);
  if (size <= static_cast<std::size_t>(epptr() - pptr())) {
    std::memcpy(pptr(), text, size);
    pbump(static_cast<int>(size));
    return count;
  }
  // Too long for what is left: send the buffer, then keep or send the text.
  if (!Drain()) return 0;
  if (size < fnBuffer.size()) {
    std::memcpy(pptr(), text, size);
    pbump(static_cast<int>(size));
    return count;
  }
  return WriteAll(text, size) ? count : 0;
}

int FdBuffer::sync() { return Drain() ? 0 : -1; }

}  // namespace treeout_cli
