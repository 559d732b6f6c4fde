// Java's form of UTF-8, both ways, against ICU and plain rules: what goes to Java is
// the input as ICU reads it, unit by unit; what comes back is valid UTF-8 and, unless
// a surrogate stood alone, the same text.
#include <unicode/unistr.h>

#include "fuzz/fuzz.h"
#include "jni/modified_utf8.h"

namespace {

using icu::UnicodeString;

// Each unit by the table of the class file format, nothing else.
std::string modified_of(const UnicodeString& text) {
  std::string out;
  for (std::int32_t i = 0; i < text.length(); ++i) {
    const unsigned unit = text[i];
    if (unit != 0 && unit < 0x80) {
      out += static_cast<char>(unit);
    } else if (unit < 0x800) {
      out += static_cast<char>(0xC0U | unit >> 6U);
      out += static_cast<char>(0x80U | (unit & 0x3FU));
    } else {
      out += static_cast<char>(0xE0U | unit >> 12U);
      out += static_cast<char>(0x80U | (unit >> 6U & 0x3FU));
      out += static_cast<char>(0x80U | (unit & 0x3FU));
    }
  }
  return out;
}

std::string utf8_of(const UnicodeString& text) {
  std::string out;
  return text.toUTF8String(out);
}

UnicodeString units_of(std::string_view utf8) {
  return UnicodeString::fromUTF8({utf8.data(), static_cast<std::int32_t>(utf8.size())});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kora_fuzz;
  using namespace koralite::jni;
  const Budget budget(size);
  const std::string text(reinterpret_cast<const char*>(data), size);

  const UnicodeString units = units_of(text);
  const std::string modified = to_modified_utf8(text);
  require(modified == modified_of(units), "Java gets what ICU reads");
  require(modified.find('\0') == std::string::npos, "no zero byte goes to Java");
  require(from_modified_utf8(modified) == utf8_of(units), "and gives it back");

  // Any bytes as if they came from Java.
  const std::string back = from_modified_utf8(text);
  require(back == utf8_of(units_of(back)), "what comes back is valid UTF-8");
  require(back.size() <= 3 * text.size(), "and not much longer");
  require(from_modified_utf8(to_modified_utf8(back)) == back, "and goes both ways");

  // A Java string of any units, lone surrogates too, which ICU turns into U+FFFD.
  UnicodeString any;
  for (Bytes bytes(data, size); !bytes.empty();) {
    any += static_cast<char16_t>(bytes.number(2));
  }
  require(from_modified_utf8(modified_of(any)) == utf8_of(any), "any Java string comes back");
  return 0;
}
