#include "src/files/new_file.h"

#include <sys/stat.h>

#include <utility>

#include "orvxml/buffer.h"

namespace orvxml {

bool NewFile::create(const char* name) {
  FILE* const stream = xml_fopen(ctx_, name, "wb+");
  if (!stream) return false;
  adopt(name, stream);
  struct stat status;
  if (::fstat(::fileno(stream), &status) != 0) return false;
  isRegular_ = S_ISREG(status.st_mode);
  return isRegular_ || S_ISCHR(status.st_mode);
}

void NewFile::adopt(const char* name, FILE* stream) {
  name_ = name;
  stream_ = stream;
  isRegular_ = true;
}

size_t NewFile::write(const char* data, size_t size) {
  return size > 0 ? std::fwrite(data, 1, size, stream_) : 0;
}

bool NewFile::finish() {
  const bool written = std::fclose(std::exchange(stream_, nullptr)) == 0;
  if (isRegular_) written ? qrk_changeMode(ctx_, name_) : std::remove(name_);
  return written;
}

void NewFile::discard() {
  if (!stream_) return;
  std::fclose(stream_);
  if (isRegular_) std::remove(name_);
}

}  // namespace orvxml
