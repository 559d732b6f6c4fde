#include "common/sha256.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using koralite::common::Sha256;

namespace {
std::span<const unsigned char> bytes_of(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}
}  // namespace

// The example values that FIPS 180-4 publishes, and one with a length at each padding boundary
// (checked against sha256sum).
TEST(Sha256, KnownDigests) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
      {std::string(1000000, 'a'),
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& [text, digest] : cases) {
    EXPECT_EQ(Sha256::hex_of(bytes_of(text)), digest) << text.size() << " bytes";
  }
}

TEST(Sha256, PiecesGiveTheDigestOfTheWhole) {
  std::string text;
  for (int i = 0; i < 300; ++i) {
    text += static_cast<char>(i * 7);
  }
  for (std::size_t step : {1U, 3U, 63U, 64U, 65U, 130U}) {
    Sha256 sha;
    for (std::size_t at = 0; at < text.size(); at += step) {
      sha.update(bytes_of(text).subspan(at, std::min(step, text.size() - at)));
    }
    Sha256 whole;
    whole.update(bytes_of(text));
    EXPECT_EQ(sha.finish(), whole.finish()) << step;
  }
}
