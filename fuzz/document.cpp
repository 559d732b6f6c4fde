// Documents, plain and marked up, in four directions: every protected span of the input
// is in the output in number and bytes, tags are as many as before and nest as before,
// the same input gives the same bytes, and links lie in both texts.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "document/document_translator.h"
#include "document/markup_scanner.h"
#include "document/span_recognizer.h"
#include "fuzz/edit.h"
#include "fuzz/fuzz.h"
#include "translator/direction_table.h"
#include "translator/text_translation.h"

namespace {

using namespace kora_fuzz;
using namespace koralite::document;
using koralite::textProcess::LangType;
using koralite::translator::TransImpl;

constexpr std::int32_t kDirections[] = {0, 1, 8, 23};

struct engine_t {
  koralite::translator::language_pair_t languages;
  std::unique_ptr<TransImpl> handle;
};

engine_t& engine(unsigned kind) {
  static SmallFolders folders;
  static engine_t engines[8];
  engine_t& one = engines[kind % 8];
  if (!one.handle) {
    const std::string& folder = folders.get(kind).path;
    one.languages = koralite::translator::languages_of(kDirections[kind % 4]);
    one.handle = std::make_unique<TransImpl>(one.languages.source, one.languages.target,
                                             folder + "/engine.conf", folder, "decoder.conf");
  }
  return one;
}

std::size_t count(std::string_view text, std::string_view part) {
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) {
    ++n;
  }
  return n;
}

// What a line protects, with how often: what each span's bytes must be found again as.
void check_spans(const SpanRecognizer& recognizer, const std::string& input,
                 const std::string& output) {
  std::map<std::string, std::size_t> spans;
  for (const span_t& span : recognizer.find(input)) {
    std::string bytes = input.substr(span.begin, span.end - span.begin);
    if (span.kind == kAccelerators) {
      continue;  // their marks move to a letter that the output has
    }
    ++spans[bytes];
  }
  for (const auto& [bytes, number] : spans) {
    require(count(output, bytes) >= number, "every protected span is in the output");
  }
}

// Tags in order, and whether they nest.
struct tags_t {
  std::map<std::string, std::size_t> number;
  bool nests = true;
};

tags_t tags_of(const std::string& text) {
  tags_t tags;
  std::vector<std::string> open;
  for (const token_t& token : scan_markup(text)) {
    if (token.kind == TokenKind::kText) {
      continue;
    }
    ++tags.number[text.substr(token.begin, token.end - token.begin)];
    if (token.kind == TokenKind::kOpen) {
      open.push_back(token.name);
    } else if (token.kind == TokenKind::kClose) {
      if (open.empty() || open.back() != token.name) {
        tags.nests = false;
      } else {
        open.pop_back();
      }
    }
  }
  tags.nests = tags.nests && open.empty();
  return tags;
}

void check_links(const document_result_t& result, std::size_t source_size) {
  std::int32_t end = 0;
  for (const auto& link : result.links) {
    require(0 <= link.source_first && link.source_first <= link.source_last &&
                link.source_last < static_cast<std::int64_t>(source_size),
            "a link lies inside the document");
    require(end <= link.target_first && link.target_first <= link.target_last &&
                link.target_last < static_cast<std::int64_t>(result.text.size()),
            "links follow one another inside the output");
    end = link.target_last + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, std::min<std::size_t>(size, 1200));
  const Budget budget(size);
  const unsigned kind = bytes.byte();
  const unsigned how = bytes.byte();
  engine_t& one = engine(kind);
  DocumentTranslator translator(*one.handle, one.languages.source, one.languages.target);
  if (how & 1U) {
    const std::string pattern(bytes.part());
    accepts([&] { translator.lines().recognizer().add_pattern(pattern); });
  }
  if (how & 2U) {
    translator.lines().glossary().add(std::string(bytes.part()), (how & 4U) != 0, *one.handle);
  }
  const std::string text(bytes.rest());
  const bool has_terms = !translator.lines().glossary().empty();
  if (how & 8U) {
    const markup_options_t options{.with_links = true, .translates_attributes = (how & 16U) != 0};
    const auto result = translator.translate_markup(text, options);
    require(translator.translate_markup(text, options).text == result.text,
            "the same document gives the same bytes");
    check_links(result, text.size());
    if (!options.translates_attributes && !has_terms) {
      const tags_t before = tags_of(text);
      const tags_t after = tags_of(result.text);
      for (const auto& [tag, number] : before.number) {
        const auto found = after.number.find(tag);
        require(found != after.number.end() && found->second >= number, "no tag is lost");
      }
      require(!before.nests || after.nests, "what nested nests");
    }
  } else {
    const auto result = translator.translate_text(text, true);
    require(translator.translate_text(text, false).text == result.text,
            "links change no byte of the text");
    check_links(result, text.size());
    require(count(result.text, "\n") >= count(text, "\n"), "no line end is lost");
    if (!has_terms) {
      check_spans(translator.lines().recognizer(), text, result.text);
    }
  }
  return 0;
}
