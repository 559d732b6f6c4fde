#include "toolkit/lm/ngram_model.h"

#include <algorithm>
#include <charconv>

#include "toolkit/io/text_output.h"

namespace koralite::toolkit {

NgramText::NgramText() {
  words_.intern("<unk>");
  words_.intern("<s>");
  words_.intern("</s>");
}

void NgramText::add_line(std::string_view line) {
  tokens_.push_back(kBegin);
  for (const std::string_view word : split_blanks(line)) {
    const WordId id = words_.intern(word);
    if (id != kBegin && id != kEnd) {
      tokens_.push_back(id);
    }
  }
  tokens_.push_back(kEnd);
  ++sentences_;
}

std::size_t NgramModel::find(std::span<const WordId> ngram) const {
  const std::size_t n = ngram.size();
  if (n == 0 || n > levels_.size()) {
    return kNone;
  }
  const NgramLevel& level = levels_[n - 1];
  // Last words first, as the level is sorted.
  const auto compare = [&](std::size_t entry) {
    for (std::size_t k = n; k-- > 0;) {
      const WordId held = level.words[entry * n + k];
      if (held != ngram[k]) {
        return held < ngram[k] ? -1 : 1;
      }
    }
    return 0;
  };
  std::size_t low = 0;
  std::size_t high = level.size();
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const int order = compare(middle);
    if (order == 0) {
      return middle;
    }
    (order < 0 ? low : high) = order < 0 ? middle + 1 : middle;
  }
  return kNone;
}

double NgramModel::log10_probability(std::span<const WordId> ngram) const {
  if (ngram.size() > order()) {
    ngram = ngram.last(order());
  }
  double backoff = 0;
  for (;;) {
    if (const std::size_t entry = find(ngram); entry != kNone) {
      return backoff + static_cast<double>(level(ngram.size()).log_probability[entry]);
    }
    if (ngram.size() == 1) {
      const WordId unknown = NgramText::kUnknown;
      const std::size_t entry = find({&unknown, 1});
      return backoff + static_cast<double>(level(1).log_probability[entry]);
    }
    const auto context = ngram.first(ngram.size() - 1);
    if (const std::size_t entry = find(context); entry != kNone) {
      backoff += static_cast<double>(level(context.size()).log_backoff[entry]);
    }
    ngram = ngram.last(ngram.size() - 1);
  }
}

double NgramModel::log10_sentence(std::span<const WordId> words) const {
  std::vector<WordId> all{NgramText::kBegin};
  all.insert(all.end(), words.begin(), words.end());
  all.push_back(NgramText::kEnd);
  double sum = 0;
  for (std::size_t end = 2; end <= all.size(); ++end) {
    sum += log10_probability(std::span(all).first(end));
  }
  return sum;
}

void write_arpa(const NgramModel& model, const std::string& path) {
  TextOutput out(path);
  std::string text = "\\data\\\n";
  for (std::size_t n = 1; n <= model.order(); ++n) {
    text += "ngram " + std::to_string(n) + "=" + std::to_string(model.level(n).size()) + "\n";
  }
  const auto number = [&text](float value) {
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 7);
    text.append(digits, end.ptr);
  };
  for (std::size_t n = 1; n <= model.order(); ++n) {
    const NgramLevel& level = model.level(n);
    text += "\n\\" + std::to_string(n) + "-grams:\n";
    for (std::size_t entry = 0; entry < level.size(); ++entry) {
      number(level.log_probability[entry]);
      for (std::size_t k = 0; k < n; ++k) {
        text += k == 0 ? '\t' : ' ';
        text += model.words()[level.words[entry * n + k]];
      }
      if (n < model.order() && level.log_backoff[entry] != 0) {
        text += '\t';
        number(level.log_backoff[entry]);
      }
      text += '\n';
      if (text.size() > 65536) {
        out.write(text);
        text.clear();
      }
    }
  }
  text += "\n\\end\\\n";
  out.write(text);
  out.commit();
}

}  // namespace koralite::toolkit
