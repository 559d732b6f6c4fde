#include "toolkit/lm/arpa.h"

#include <charconv>
#include <cstddef>

#include "decoder/lang_model.h"
#include "toolkit/io/line_reader.h"

namespace koralite::toolkit {
namespace {

constexpr double kNaturalLog = 2.302585092994045684;  // of 10
constexpr std::size_t kMaxOrder = decoder::LangModel::kMaxOrder;

bool whole_number(std::string_view text, std::uint64_t& value) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end && !text.empty();
}

std::string_view trim(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(" \t");
  if (begin == std::string_view::npos) {
    return {};
  }
  return line.substr(begin, line.find_last_not_of(" \t") - begin + 1);
}

class ArpaReader {
 public:
  ArpaReader(const std::string& path, const std::function<std::int32_t(std::string_view)>& id_of,
             LangModelBuilder& builder)
      : lines_(path), id_of_(id_of), builder_(builder) {}

  arpa_report_t read() {
    do {
      if (!lines_.next(line_)) {
        throw lines_.error("no \\data\\ line: not an ARPA file");
      }
      line_ = trim(line_);
    } while (line_ != "\\data\\");
    read_counts();
    for (std::size_t order = 1; order <= announced_.size(); ++order) {
      read_section(order);
    }
    if (line_ != "\\end\\") {
      throw lines_.error("\\end\\ expected after the section of order " +
                         std::to_string(announced_.size()));
    }
    return report_;
  }

 private:
  // Moves to the next line that is not empty.
  void advance(const char* wanted) {
    do {
      if (!lines_.next(line_)) {
        throw lines_.error("the file ends here, but " + std::string(wanted) + " is missing");
      }
      line_ = trim(line_);
    } while (line_.empty());
  }

  void read_counts() {
    for (advance("\\1-grams:"); line_.starts_with("ngram"); advance("\\1-grams:")) {
      const std::string_view rest = trim(line_.substr(5));
      const std::size_t equals = rest.find('=');
      std::uint64_t order = 0;
      std::uint64_t count = 0;
      if (equals == std::string_view::npos || !whole_number(trim(rest.substr(0, equals)), order) ||
          !whole_number(trim(rest.substr(equals + 1)), count)) {
        throw lines_.error("a line \"ngram ORDER=COUNT\" expected");
      }
      if (order != announced_.size() + 1) {
        throw lines_.error("order " + std::to_string(announced_.size() + 1) + " expected here");
      }
      if (order > kMaxOrder) {
        throw lines_.error("n-grams of more than " + std::to_string(kMaxOrder) +
                           " words can't be packed");
      }
      announced_.push_back(count);
    }
    if (announced_.empty()) {
      throw lines_.error("a line \"ngram ORDER=COUNT\" expected");
    }
  }

  void read_section(std::size_t order) {
    const std::string header = "\\" + std::to_string(order) + "-grams:";
    if (line_ != header) {
      throw lines_.error(header + " expected");
    }
    std::uint64_t count = 0;
    for (advance("\\end\\"); !is_header(); advance("\\end\\")) {
      read_ngram(order);
      ++count;
    }
    if (count != announced_[order - 1]) {
      throw lines_.error(std::to_string(count) + " n-grams of order " + std::to_string(order) +
                         ", but \\data\\ announced " + std::to_string(announced_[order - 1]));
    }
    report_.by_order.push_back(count);
  }

  bool is_header() const {
    return line_ == "\\end\\" || (line_.starts_with('\\') && line_.ends_with("-grams:"));
  }

  void read_ngram(std::size_t order) {
    split_blanks(line_, fields_);
    if (fields_.size() != order + 1 && fields_.size() != order + 2) {
      throw lines_.error("a probability, " + std::to_string(order) +
                         " words and perhaps a back-off weight expected, but " +
                         std::to_string(fields_.size()) + " fields found");
    }
    double probability = 0;
    double back_off = 0;
    if (!parse_number(fields_[0], probability)) {
      throw lines_.error("\"" + std::string(fields_[0]) + "\" is no log probability");
    }
    if (fields_.size() == order + 2 && !parse_number(fields_.back(), back_off)) {
      throw lines_.error("\"" + std::string(fields_.back()) + "\" is no back-off weight");
    }
    ids_.clear();
    for (std::size_t i = 1; i <= order; ++i) {
      const std::int32_t id = id_of_(fields_[i]);
      if (id < 0) {
        ++report_.unknown_words;
        return;
      }
      ids_.push_back(id);
    }
    builder_.add(ids_, static_cast<float>(probability * kNaturalLog),
                 static_cast<float>(back_off * kNaturalLog));
  }

  LineReader lines_;
  const std::function<std::int32_t(std::string_view)>& id_of_;
  LangModelBuilder& builder_;
  std::string_view line_;
  std::vector<std::uint64_t> announced_;
  std::vector<std::string_view> fields_;
  std::vector<std::int32_t> ids_;
  arpa_report_t report_;
};

}  // namespace

arpa_report_t read_arpa(const std::string& path,
                        const std::function<std::int32_t(std::string_view)>& id_of,
                        LangModelBuilder& builder) {
  return ArpaReader(path, id_of, builder).read();
}

}  // namespace koralite::toolkit
