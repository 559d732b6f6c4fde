#include "document/line_translator.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "common/text_class.h"
#include "decoder/vocab.h"
#include "document/clause_splitter.h"
#include "document/fixed_expressions.h"
#include "document/utf8.h"
#include "translator/alignment.h"
#include "translator/text_translation.h"

namespace koralite::document {

using common::align_t;
using common::text_is_non_ascii;
using common::text_is_word_byte;
using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

namespace {

constexpr std::size_t kReach = decoder::Decoder::kMaxWords;

bool is_written_with_blanks(LangType language) {
  return language == LangType::kEnglish || language == LangType::kKorean ||
         language == LangType::kArabic || language == LangType::kRussian;
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\0';
}

// The character that ends before `end`, as far as it is one.
char32_t character_before(std::string_view text, std::size_t end) {
  std::size_t begin = end - 1;
  while (begin > 0 && end - begin < 4 && is_continuation_byte(text[begin])) {
    --begin;
  }
  return character_at(text, begin).code;
}

// The ASCII form of a mark, so that those of both languages can be compared.
char32_t plain_mark(char32_t c) {
  switch (c) {
    case 0x3002:
      return '.';
    case 0x3001:
      return ',';
    case 0x201C:
    case 0x201D:
      return '"';
    case 0x2018:
    case 0x2019:
      return '\'';
    case 0x2014:
      return '-';
    default:
      return c >= 0xFF01 && c <= 0xFF5E ? c - 0xFF01 + 0x21 : c;
  }
}

bool is_same_but_capitals(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return common::text_to_lower(x) == common::text_to_lower(y);
         });
}

// "%s" and "{}", but not "%1$s", "%1" or "%(name)s".
bool is_unnumbered(std::string_view format) {
  if (format == "{}") {
    return true;
  }
  if (format[0] != '%' || format == "%%" || format.find('$') != std::string_view::npos) {
    return false;
  }
  return common::text_is_letter(format.back()) && format[1] != '(' && format[1] != '{';
}

std::int32_t narrow(std::size_t value) {
  return static_cast<std::int32_t>(value);
}

}  // namespace

LineTranslator::LineTranslator(translator::TransImpl& handle, LangType source, LangType target)
    : handle_(handle),
      source_(source),
      target_(target),
      target_has_blanks_(is_written_with_blanks(target)),
      recognizer_(source),
      glossary_(source) {}

void LineTranslator::put_bytes(std::string_view line, std::size_t begin, std::size_t end) {
  masked_.text.append(line.substr(begin, end - begin));
  for (std::size_t i = begin; i < end; ++i) {
    masked_.first.push_back(narrow(i));
    masked_.last.push_back(narrow(i));
  }
}

// A stand-in must be a word of its own; a contraction behind it stays attached, as the
// tokenizer wants it.
void LineTranslator::put_stand_in(std::string_view line, held_t held) {
  const auto put = [&](std::string_view text, std::size_t first, std::size_t last) {
    masked_.text += text;
    masked_.first.resize(masked_.text.size(), narrow(first));
    masked_.last.resize(masked_.text.size(), narrow(last));
  };
  const std::size_t begin = held.begin;
  const std::size_t end = held.end;
  if (!masked_.text.empty() && masked_.text.back() != ' ') {
    put(" ", begin, begin);
  }
  put(stand_ins_.add(std::move(held)), begin, end - 1);
  if (end == line.size() || line[end] == ' ') {
    return;
  }
  const bool attaches = source_ == LangType::kEnglish && stands_attached(line, end);
  if (!attaches) {
    put(" ", end - 1, end - 1);
  }
}

void LineTranslator::mask(std::string_view line, std::span<const forced_span_t> forced) {
  stand_ins_.reset(line);
  masked_.text.clear();
  masked_.first.clear();
  masked_.last.clear();
  accelerator_.reset();

  const std::vector<span_t> spans = recognizer_.find(line);
  std::vector<expression_t> expressions;
  if ((recognizer_.kinds() & kNumbers) != 0) {
    expressions = find_expressions(line, source_, target_);
  }
  const auto accelerators = std::count_if(
      spans.begin(), spans.end(), [](const span_t& span) { return span.kind == kAccelerators; });
  const bool terms = glossary_.matches_bytes() && !glossary_.empty();
  std::size_t next_forced = 0;
  std::size_t next_span = 0;
  std::size_t next_expression = 0;
  std::size_t copied = 0;
  for (std::size_t at = 0; at < line.size();) {
    while (next_span < spans.size() && spans[next_span].begin < at) {
      ++next_span;
    }
    const std::size_t next_found =
        std::min(next_forced < forced.size() ? forced[next_forced].begin : line.size(),
                 next_span < spans.size() ? spans[next_span].begin : line.size());
    // An expression comes before a span that it holds, never into one.
    while (next_expression < expressions.size() &&
           (expressions[next_expression].begin < at ||
            (next_forced < forced.size() &&
             expressions[next_expression].end > forced[next_forced].begin))) {
      ++next_expression;
    }
    const std::size_t next_at = std::min(next_found, next_expression < expressions.size()
                                                         ? expressions[next_expression].begin
                                                         : line.size());
    if (terms && at < next_at) {
      const auto match = glossary_.find_bytes(line, at);
      if (match.length > 0 && at + match.length <= next_at) {
        put_bytes(line, copied, at);
        put_stand_in(line, {match.target == nullptr ? std::string(line.substr(at, match.length))
                                                    : *match.target,
                            "lit", at, at + match.length});
        copied = at += match.length;
      } else {
        at += character_at(line, at).length;
      }
      continue;
    }
    at = next_at;
    if (at == line.size()) {
      break;
    }
    put_bytes(line, copied, at);
    if (next_forced < forced.size() && forced[next_forced].begin == at) {
      const forced_span_t& span = forced[next_forced++];
      put_stand_in(line, {span.text, "mark", span.begin, span.end});
      copied = at = span.end;
      continue;
    }
    if (next_expression < expressions.size() && expressions[next_expression].begin == at) {
      const expression_t& found = expressions[next_expression++];
      put_stand_in(line, {found.translation, "lit", found.begin, found.end});
      copied = at = found.end;
      continue;
    }
    span_t span = spans[next_span++];
    if (next_forced < forced.size()) {
      span.end = std::min(span.end, forced[next_forced].begin);
    }
    const std::string_view bytes = line.substr(span.begin, span.end - span.begin);
    ++counts_.spans;
    if (span.kind == kAccelerators && accelerators == 1) {
      // The letter stays; its mark is put where the target's readers look for it.
      const std::size_t mark = bytes.find_first_of("&_");
      accelerator_ = accelerator_t{span.begin, span.end, std::string(bytes.substr(mark, 2))};
      copied = at = mark == 0 ? span.begin + 1 : span.end;
      continue;
    }
    const std::string* const term = glossary_.find_exactly(bytes);
    held_t held{term != nullptr ? *term : std::string(bytes), tag_of(span.kind), span.begin,
                span.end};
    held.is_ordered = span.kind == kFormats && is_unnumbered(bytes);
    put_stand_in(line, std::move(held));
    copied = at = span.end;
  }
  put_bytes(line, copied, line.size());
}

void LineTranslator::translate(std::string_view line, std::span<const forced_span_t> forced,
                               bool with_links, line_result_t& result) {
  with_links_ = with_links;
  result.text.clear();
  result.links.clear();
  mask(line, forced);
  // Sentences are cut out of the masked text: no mark inside a span ends one.
  const std::string text = masked_.text;
  std::size_t begin = 0;
  std::size_t last_end = 0;
  for (const std::string& piece : translator::split_sentences(text, source_)) {
    const std::size_t end = begin + piece.size();
    std::size_t first = begin;
    std::size_t after = end;
    while (first < after && is_blank(text[first])) {
      ++first;
    }
    while (after > first && is_blank(text[after - 1])) {
      --after;
    }
    if (first < after) {
      ++counts_.sentences;
      translate_sentence(line, first, after, sentence_);
      join(line, last_end, first, sentence_, result);
      last_end = after;
    }
    begin = end;
  }
  if (accelerator_) {
    put_accelerator(result);
  }
}

// Puts a sentence behind those before it: with the blanks of the source in a language that
// has them, with none between full-width marks and characters.
void LineTranslator::join(std::string_view line, std::size_t from, std::size_t to,
                          const line_result_t& next, line_result_t& result) const {
  if (!result.text.empty() && !next.text.empty()) {
    const bool east_asian = is_east_asian(character_before(result.text, result.text.size())) ||
                            is_east_asian(character_at(next.text, 0).code);
    if (target_has_blanks_ || !east_asian) {
      // Blanks that were put around stand-ins stand for no byte of their own.
      std::size_t blanks = 0;
      for (std::size_t i = from; i < to; ++i) {
        const auto at = static_cast<std::size_t>(masked_.first[i]);
        blanks += line[at] == ' ' ? 1 : 0;
      }
      result.text.append(std::max<std::size_t>(blanks, 1), ' ');
    }
  }
  const std::int32_t shift = narrow(result.text.size());
  result.text += next.text;
  for (align_t link : next.links) {
    link.target_first += shift;
    link.target_last += shift;
    result.links.push_back(link);
  }
}

void LineTranslator::translate_sentence(std::string_view line, std::size_t begin, std::size_t end,
                                        line_result_t& result) {
  result.text.clear();
  result.links.clear();
  const std::string_view sentence = std::string_view(masked_.text).substr(begin, end - begin);
  // Nothing but a span: nothing to search for.
  if (const std::size_t index = stand_ins_.index_of(sentence); index < stand_ins_.size()) {
    result.text = stand_ins_[index].text;
    if (with_links_ && !result.text.empty()) {
      result.links.push_back({narrow(stand_ins_[index].begin), narrow(stand_ins_[index].end) - 1, 0,
                              narrow(result.text.size()) - 1});
    }
    return;
  }
  if (!search(line, begin, end, result)) {
    ++counts_.rescued;
    rescue(line, begin, end, result);
  }
}

const char* LineTranslator::known_tag(const char* tag) {
  const decoder::Vocab* const vocab = handle_.translator().models().source_vocab.get();
  int id = 0;
  const std::string word = '<' + std::string(tag) + ">#0";
  if (vocab != nullptr && vocab->find(word.c_str(), id)) {
    return vocab->decode(id);
  }
  return nullptr;
}

void LineTranslator::hold(common::word_node_t& node, ProcessWordSeq& words, held_t held) {
  const char* const tag = known_tag(held.tag);
  node.translation = words.store(stand_ins_.add(std::move(held)));
  if (tag != nullptr) {
    node.tag = tag;
  } else if (node.tag == nullptr) {
    node.tag = "<lit>#0";  // unknown to the vocabulary: so is the word
  }
}

void LineTranslator::keep_copied(const std::string& sentence, std::size_t begin, std::size_t index,
                                 ProcessWordSeq& words) {
  common::word_node_t& node = words.words()[index];
  const std::string_view word = node.word;
  const bool is_fixed =
      node.tag != nullptr && word == node.translation;  // as Latin words in Chinese
  if (node.translation != nullptr && !is_fixed) {
    return;
  }
  const auto at = static_cast<std::size_t>(words.positions()[index]);
  const auto held_word = [&](std::string text, std::size_t length) {
    const auto first = static_cast<std::size_t>(masked_.first[begin + at]);
    const std::size_t last = std::min(begin + at + length, masked_.last.size()) - 1;
    return held_t{std::move(text), "lit", first, static_cast<std::size_t>(masked_.last[last]) + 1,
                  false};
  };
  // With few exceptions a word is its bytes in the sentence, but for capitals.
  const std::string_view written = std::string_view(sentence).substr(at, word.size());
  if (is_same_but_capitals(written, word)) {
    const bool changes =
        is_fixed ? target_ == LangType::kEnglish || target_ == LangType::kKorean : written != word;
    if (changes && std::any_of(written.begin(), written.end(), common::text_is_letter)) {
      node.translation =
          words.store(stand_ins_.add(held_word(std::string(written), written.size())));
    }
    return;
  }
}

void LineTranslator::hold_words(const std::string& sentence, std::size_t begin,
                                ProcessWordSeq& words) {
  const decoder::Vocab* const vocab = handle_.translator().models().source_vocab.get();
  const decoder::UnkTranslator* const unknown = handle_.GetUnkTranslator();
  const std::size_t spans = stand_ins_.size();
  std::string reading;
  for (std::size_t i = 0; i < words.words().size(); ++i) {
    common::word_node_t& node = words.words()[i];
    const std::size_t index = stand_ins_.index_of(node.word);
    if (index < spans) {
      node.translation = node.word;
      const char* const tag = known_tag(stand_ins_[index].tag);
      if (tag != nullptr) {
        node.tag = tag;
      } else if (node.tag == nullptr) {
        node.tag = "<lit>#0";
      }
      continue;
    }
    keep_copied(sentence, begin, i, words);
    // Characters without a reading are copied where the others get theirs.
    int id = 0;
    if (source_ != LangType::kChinese || node.translation != nullptr || vocab == nullptr ||
        unknown == nullptr || !text_is_non_ascii(node.word[0]) || vocab->find(node.word, id)) {
      continue;
    }
    const std::string_view word = node.word;
    std::string spelled;
    bool copies = false;
    for (std::size_t at = 0; at < word.size();) {
      const std::string character(word.substr(at, character_at(word, at).length));
      unknown->translate(character.c_str(), reading);
      copies = copies || reading.empty();
      spelled += reading.empty() ? character : reading;
      at += character.size();
    }
    if (copies) {
      const auto at = static_cast<std::size_t>(words.positions()[i]);
      const std::size_t last = std::min(begin + at + word.size(), masked_.last.size()) - 1;
      node.translation = words.store(
          stand_ins_.add({spelled, "lit", static_cast<std::size_t>(masked_.first[begin + at]),
                          static_cast<std::size_t>(masked_.last[last]) + 1, false}));
    }
  }
}

void LineTranslator::apply_glossary(const std::string& sentence, std::size_t begin,
                                    ProcessWordSeq& words) {
  if (glossary_.empty() || glossary_.matches_bytes()) {
    return;
  }
  std::vector<const char*> texts;
  std::vector<std::string_view> written;
  const std::size_t count = words.words().size();
  for (std::size_t i = 0; i < count; ++i) {
    texts.push_back(words.words()[i].word);
    const auto at = static_cast<std::size_t>(words.positions()[i]);
    std::size_t end =
        i + 1 < count ? static_cast<std::size_t>(words.positions()[i + 1]) : sentence.size();
    while (end > at + 1 && is_blank(sentence[end - 1])) {
      --end;
    }
    written.push_back(std::string_view(sentence).substr(at, end > at ? end - at : 0));
  }
  ProcessWordSeq::Words kept;
  ProcessWordSeq::Positions positions;
  for (std::size_t i = 0; i < count;) {
    const auto match = glossary_.find_words(texts, written, i);
    kept.push_back(words.words()[i]);
    positions.push_back(words.positions()[i]);
    if (match.length == 0) {
      ++i;
      continue;
    }
    const auto at = static_cast<std::size_t>(written[i].data() - sentence.data());
    const std::string_view last = written[i + match.length - 1];
    const auto end = static_cast<std::size_t>(last.data() + last.size() - sentence.data());
    held_t held;
    held.text = match.target != nullptr ? *match.target : sentence.substr(at, end - at);
    held.begin = static_cast<std::size_t>(masked_.first[begin + at]);
    held.end = static_cast<std::size_t>(masked_.last[begin + end - 1]) + 1;
    held.moves_alone = false;
    kept.back().tag = nullptr;
    hold(kept.back(), words, std::move(held));
    i += match.length;
  }
  words.words() = std::move(kept);
  words.positions() = std::move(positions);
}

void LineTranslator::decode(ProcessWordSeq& words, std::string& decoded,
                            std::vector<align_t>& links) {
  std::string log;
  decoded.clear();
  links.clear();
  if (words.words().size() <= kReach) {
    if (with_links_) {
      handle_.translator().Translate(words, decoded, links, log);
    } else {
      handle_.translator().Translate(words, decoded, log);
    }
    return;
  }
  std::vector<std::string_view> texts;
  for (const common::word_node_t& node : words.words()) {
    texts.emplace_back(node.word);
  }
  const std::vector<std::size_t> begins = cut_into_clauses(texts, kReach);
  std::string piece;
  std::vector<align_t> piece_links;
  for (std::size_t k = 0; k < begins.size(); ++k) {
    const std::size_t end = k + 1 < begins.size() ? begins[k + 1] : texts.size();
    ProcessWordSeq clause(false);
    clause.words().assign(words.words().begin() + narrow(begins[k]),
                          words.words().begin() + narrow(end));
    handle_.translator().Translate(clause, piece, piece_links, log);
    if (piece.empty()) {
      continue;
    }
    if (!decoded.empty()) {
      decoded += ' ';
    }
    if (!with_links_) {
      piece_links.clear();
    }
    for (align_t link : piece_links) {
      link.source_first += narrow(begins[k]);
      link.source_last += narrow(begins[k]);
      link.target_first += narrow(decoded.size());
      link.target_last += narrow(decoded.size());
      links.push_back(link);
    }
    decoded += piece;
  }
}

bool LineTranslator::search(std::string_view line, std::size_t begin, std::size_t end,
                            line_result_t& result) {
  const std::string sentence = masked_.text.substr(begin, end - begin);
  ProcessStr str(true, sentence);
  str.set_identity();
  ProcessWordSeq words(true);
  handle_.DoPreprocess(str, words);
  const std::size_t spans = stand_ins_.size();
  hold_words(sentence, begin, words);
  apply_glossary(sentence, begin, words);

  std::string decoded;
  std::vector<align_t> links;
  decode(words, decoded, links);
  const auto word_count = narrow(words.words().size());
  if (with_links_ && !translator::check_alignment(word_count, narrow(decoded.size()), links)) {
    links.assign(1, translator::whole_alignment(words.words().size(), decoded.size()));
  }
  ProcessStr output(with_links_, std::move(decoded));
  output.set_identity();
  handle_.DoPostprocess(output);
  if (with_links_) {
    translator::modify_alignment(sentence, output.text(), words.positions(), output.positions(),
                                 links);
    if (!translator::check_alignment(sentence, output.text(), links)) {
      links.assign(1, translator::whole_alignment(sentence.size(), output.text().size()));
    }
    for (align_t& link : links) {
      link.source_first = masked_.first[begin + static_cast<std::size_t>(link.source_first)];
      link.source_last = std::max(link.source_first,
                                  masked_.last[begin + static_cast<std::size_t>(link.source_last)]);
    }
  }

  std::vector<found_stand_in_t> found = stand_ins_.find(output.text());
  if (spans > 0) {
    // Each span of the sentence exactly once.
    const std::vector<found_stand_in_t> wanted = stand_ins_.find(sentence);
    std::vector<std::size_t> given;
    for (const found_stand_in_t& one : found) {
      if (one.index < spans && stand_ins_[one.index].moves_alone) {
        given.push_back(one.index);
      }
    }
    std::sort(given.begin(), given.end());
    const bool whole =
        std::equal(wanted.begin(), wanted.end(), given.begin(), given.end(),
                   [](const found_stand_in_t& a, std::size_t b) { return a.index == b; });
    if (!whole) {
      return false;
    }
  }
  keep_order(found);
  restore(line, output.text(), found, links, result);
  return true;
}

// Formats without numbers take their arguments one after the other: they come out in the
// order of the source.
void LineTranslator::keep_order(std::vector<found_stand_in_t>& found) const {
  std::vector<std::size_t> indices;
  for (const found_stand_in_t& one : found) {
    if (stand_ins_[one.index].is_ordered) {
      indices.push_back(one.index);
    }
  }
  std::sort(indices.begin(), indices.end());
  std::size_t next = 0;
  for (found_stand_in_t& one : found) {
    if (stand_ins_[one.index].is_ordered) {
      one.index = indices[next++];
    }
  }
}

// Whether no blank may stand on one side of a restored span, because none stood there in the
// source and the neighbour is the same.
bool LineTranslator::keeps_together(std::string_view line, std::string_view output,
                                    const std::vector<found_stand_in_t>& found, std::size_t which,
                                    bool on_the_right) const {
  const found_stand_in_t& at = found[which];
  const held_t& held = stand_ins_[at.index];
  if (on_the_right) {
    if (held.end >= line.size() || at.end + 1 >= output.size()) {
      return false;
    }
    if (which + 1 < found.size() && found[which + 1].begin == at.end + 1) {
      return stand_ins_[found[which + 1].index].begin == held.end;
    }
    const char32_t there = character_at(line, held.end).code;
    const char32_t here = character_at(output, at.end + 1).code;
    return there != ' ' && plain_mark(there) == plain_mark(here);
  }
  if (held.begin == 0 || at.begin < 2) {
    return false;
  }
  if (which > 0 && found[which - 1].end + 1 == at.begin) {
    return stand_ins_[found[which - 1].index].end == held.begin;
  }
  const char32_t there = character_before(line, held.begin);
  const char32_t here = character_before(output, at.begin - 1);
  return there != ' ' && plain_mark(there) == plain_mark(here);
}

void LineTranslator::restore(std::string_view line, std::string_view output,
                             const std::vector<found_stand_in_t>& found,
                             const std::vector<align_t>& links, line_result_t& result) const {
  result.links.clear();
  if (found.empty()) {
    result.text.assign(output);
    result.links = links;
    return;
  }
  // Where each byte of the output begins and ends in the result.
  std::vector<std::int32_t> first(output.size());
  std::vector<std::int32_t> last(output.size());
  result.text.clear();
  std::size_t at = 0;
  const auto copy_to = [&](std::size_t end) {
    for (; at < end; ++at) {
      first[at] = last[at] = narrow(result.text.size());
      result.text += output[at];
    }
  };
  for (std::size_t k = 0; k < found.size(); ++k) {
    const found_stand_in_t& one = found[k];
    const bool blank_left = one.begin > at && output[one.begin - 1] == ' ' &&
                            keeps_together(line, output, found, k, false);
    copy_to(blank_left ? one.begin - 1 : one.begin);
    const auto skip_to = [&](std::size_t end, std::int32_t a, std::int32_t b) {
      for (; at < end; ++at) {
        first[at] = a;
        last[at] = b;
      }
    };
    const std::string& text = stand_ins_[one.index].text;
    const auto start = narrow(result.text.size());
    if (blank_left) {
      skip_to(one.begin, start, start - 1);
    }
    result.text += text;
    skip_to(one.end, start, narrow(result.text.size()) - 1);
    // "p.m." ends a sentence by itself, where the source had no dot for that.
    const std::string_view held = line.substr(
        stand_ins_[one.index].begin, stand_ins_[one.index].end - stand_ins_[one.index].begin);
    if (at + 1 == output.size() && output[at] == '.' && text.ends_with('.') &&
        !held.ends_with('.')) {
      skip_to(at + 1, narrow(result.text.size()) - 1, narrow(result.text.size()) - 1);
    }
    if (at < output.size() && output[at] == ' ' && keeps_together(line, output, found, k, true)) {
      skip_to(at + 1, narrow(result.text.size()), narrow(result.text.size()) - 1);
    }
  }
  copy_to(output.size());
  for (const align_t& link : links) {
    align_t moved = link;
    moved.target_first = first[static_cast<std::size_t>(link.target_first)];
    moved.target_last = last[static_cast<std::size_t>(link.target_last)];
    if (moved.target_first <= moved.target_last) {
      result.links.push_back(moved);
    }
  }
}

// The text between the spans translated by itself, the spans where they were.
void LineTranslator::rescue(std::string_view line, std::size_t begin, std::size_t end,
                            line_result_t& result) {
  result.text.clear();
  result.links.clear();
  const std::vector<found_stand_in_t> spans =
      stand_ins_.find(std::string_view(masked_.text).substr(begin, end - begin));
  line_result_t piece;
  std::size_t at = begin;
  std::size_t line_end = static_cast<std::size_t>(masked_.first[begin]);
  const auto put = [&](const line_result_t& part, std::size_t first, std::size_t last) {
    if (part.text.empty()) {
      return;
    }
    // A blank where the source has one, unless the target's characters need none.
    const bool gap = first > line_end && line_end < line.size() && line[line_end] == ' ';
    if (!result.text.empty() && gap &&
        (target_has_blanks_ || !(is_east_asian(character_before(result.text, result.text.size())) ||
                                 is_east_asian(character_at(part.text, 0).code)))) {
      result.text += ' ';
    }
    for (align_t link : part.links) {
      link.target_first += narrow(result.text.size());
      link.target_last += narrow(result.text.size());
      result.links.push_back(link);
    }
    result.text += part.text;
    line_end = last;
  };
  const auto put_text = [&](std::size_t first, std::size_t after) {
    while (first < after && is_blank(masked_.text[first])) {
      ++first;
    }
    while (after > first && is_blank(masked_.text[after - 1])) {
      --after;
    }
    if (first == after) {
      return;
    }
    if (!search(line, first, after, piece)) {
      // Not even words alone get through: they stay as they are.
      piece.text = masked_.text.substr(first, after - first);
      piece.links.assign(
          1, {masked_.first[first], masked_.last[after - 1], 0, narrow(piece.text.size()) - 1});
    }
    put(piece, static_cast<std::size_t>(masked_.first[first]),
        static_cast<std::size_t>(masked_.last[after - 1]) + 1);
  };
  for (const found_stand_in_t& span : spans) {
    put_text(at, begin + span.begin);
    const held_t held = stand_ins_[span.index];
    piece.text = held.text;
    piece.links.clear();
    if (with_links_ && !piece.text.empty()) {
      piece.links.push_back(
          {narrow(held.begin), narrow(held.end) - 1, 0, narrow(piece.text.size()) - 1});
    }
    put(piece, held.begin, held.end);
    at = begin + span.end;
  }
  put_text(at, end);
}

// "&File" is "文件(&F)" in languages without an alphabet, and on a letter where there is one.
void LineTranslator::put_accelerator(line_result_t& result) const {
  const std::string& mark = accelerator_->mark;
  std::string& text = result.text;
  std::size_t place = text.size();
  std::string inserted = '(' + mark + ')';
  if (target_has_blanks_) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == mark[1] && (i == 0 || text[i - 1] == ' ')) {
        place = i;
        inserted = mark.substr(0, 1);
        break;
      }
    }
  }
  if (inserted.size() > 1) {
    // Before the marks that end a label.
    for (const std::string_view ending : {":", "：", "...", "…", "。", "."}) {
      if (text.size() > ending.size() && std::string_view(text).ends_with(ending)) {
        place = text.size() - ending.size();
        break;
      }
    }
  }
  text.insert(place, inserted);
  const auto shift = narrow(inserted.size());
  const auto at = narrow(place);
  for (std::size_t k = 0; k < result.links.size(); ++k) {
    align_t& link = result.links[k];
    if (link.target_first > at || (link.target_first == at && k > 0 && at > 0)) {
      link.target_first += shift;
      link.target_last += shift;
    } else if (link.target_last + 1 >= at) {
      link.target_last += shift;
    }
  }
  if (result.links.empty() && with_links_) {
    result.links.push_back(
        {narrow(accelerator_->begin), narrow(accelerator_->end) - 1, 0, narrow(text.size()) - 1});
  }
}

}  // namespace koralite::document
