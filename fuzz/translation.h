// Translating an input with the checks that must hold for any text and any model
// that loads: the same bytes twice, every link of the alignment inside the text and
// the output, and as many n-best texts as were asked for at most.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/align.h"
#include "decoder/parameter.h"
#include "fuzz/fuzz.h"
#include "kora/kora.h"
#include "translator/text_translation.h"
#include "translator/trans_impl.h"

namespace kora_fuzz {

inline constexpr int kDirections[] = {0, 1, 8, 23};  // zh-en, en-zh, ja-en, ko-zh

// Whether a folder's own settings ask for long searches, which is their cost and no fault.
inline bool asks_much(const std::string& folder) {
  bool much = false;
  accepts([&] {
    much = koralite::decoder::Parameter((folder + "/decoder.conf").c_str()).stack_limit > 100;
  });
  return much;
}

// One initialised direction with one handle. Null handle: the folder was refused.
class Session {
 public:
  Session(int direct, const std::string& folder) {
    const std::string config = folder + "/engine.conf";
    if (kora_initialize(direct, config.c_str(), folder.c_str()) == 0) {
      handle_ = kora_create_decoder(direct);
    }
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    kora_destroy_decoder(handle_);
    kora_finalize();
  }
  koralite::translator::TransImpl* handle() const { return handle_; }

 private:
  koralite::translator::TransImpl* handle_ = nullptr;
};

inline void check_translation(koralite::translator::TransImpl& handle, const std::string& text) {
  std::string first;
  std::string second;
  const int code = kora_translate(&handle, text, first);
  require(code == 0 || code == 3, "a text gives a result or a failure");
  require(kora_translate(&handle, text, second) == code && first == second,
          "the same text gives the same bytes");
  const auto source = static_cast<koralite::textProcess::LangType>(g_srcType);
  accepts([&] {
    std::string aligned;
    std::vector<koralite::common::align_t> links;
    koralite::translator::translate_text(handle, source, text, aligned, links);
    require(code != 0 || aligned == first, "alignment changes no text");
    for (const auto& link : links) {
      // The output of an empty sentence has the link -1, of length nothing.
      require(link.source_first >= 0 && link.source_first <= link.source_last + 1 &&
                  link.source_last < static_cast<std::int64_t>(text.size()) &&
                  link.target_first >= 0 && link.target_first <= link.target_last + 1 &&
                  link.target_last < static_cast<std::int64_t>(aligned.size()),
              "a link lies inside both texts");
    }
  });
  accepts([&] {
    std::vector<std::string> best;
    handle.Translate(5, text, best);
    require(best.size() <= 5, "no more translations than asked for");
  });
}

// The text steps before and after the decoder keep a place inside the text for each
// word and byte that they give.
inline void check_positions(koralite::translator::TransImpl& handle, const std::string& text) {
  using koralite::textProcess::ProcessStr;
  koralite::textProcess::ProcessWordSeq words(true);
  ProcessStr before(true, text);
  before.set_identity();
  ProcessStr after = before;
  const auto check = [&](const auto& result, const char* promise) {
    require(result.consistent(), promise);
    for (const std::int32_t position : result.positions()) {
      require(position >= 0 && position < static_cast<std::int64_t>(text.size()), promise);
    }
  };
  if (accepts([&] { handle.DoPreprocess(before, words); })) {
    check(words, "a word has a place");
  }
  if (accepts([&] { handle.DoPostprocess(after); })) {
    check(after, "a byte has a place");
  }
}

}  // namespace kora_fuzz
