#include "toolkit/io/text_output.h"

#include <zlib.h>

#include <array>
#include <stdexcept>

namespace koralite::toolkit {

struct TextOutput::Deflater {
  z_stream stream{};
  std::array<unsigned char, 65536> buffer{};
  bool open = false;

  Deflater() {
    constexpr int kGzip = 15 + 16;  // largest window, gzip header
    open = deflateInit2(&stream, 6, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY) == Z_OK;
  }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater() {
    if (open) {
      deflateEnd(&stream);
    }
  }
};

TextOutput::TextOutput(const std::string& path) : file_(path) {
  if (!path.ends_with(".gz")) {
    return;
  }
  deflater_ = std::make_unique<Deflater>();
  if (!deflater_->open) {
    throw std::runtime_error("cannot compress " + path);
  }
}

TextOutput::~TextOutput() = default;

void TextOutput::write(std::string_view text) {
  if (deflater_) {
    deflate(text, false);
  } else {
    file_.write(text);
  }
}

void TextOutput::deflate(std::string_view text, bool finish) {
  z_stream& z = deflater_->stream;
  std::string input(text);  // zlib takes a non-const pointer
  do {
    // zlib counts in unsigned int.
    const std::size_t part = std::min<std::size_t>(input.size(), 1U << 30U);
    z.next_in = reinterpret_cast<unsigned char*>(input.data());
    z.avail_in = static_cast<unsigned>(part);
    do {
      z.next_out = deflater_->buffer.data();
      z.avail_out = static_cast<unsigned>(deflater_->buffer.size());
      ::deflate(&z, finish && part == input.size() ? Z_FINISH : Z_NO_FLUSH);
      file_.write(std::span<const unsigned char>(deflater_->buffer.data(),
                                                 deflater_->buffer.size() - z.avail_out));
    } while (z.avail_out == 0);
    input.erase(0, part);
  } while (!input.empty());
}

void TextOutput::commit() {
  if (deflater_) {
    deflate({}, true);
  }
  file_.commit();
}

}  // namespace koralite::toolkit
