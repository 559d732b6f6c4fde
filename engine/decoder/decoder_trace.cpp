// What the decoder tells about a sentence when the parameters ask for it.

#include <algorithm>

#include "common/log_writer.h"
#include "decoder/decoder_impl.h"
#include "decoder/score_text.h"

namespace koralite::decoder {

namespace {

constexpr std::string_view kRule = "-------------------";

}  // namespace

void Decoder::Impl::write_line(std::string_view line, std::string* log) const {
  common::LogWriter::GetInstance().write(line);
  if (log != nullptr) {
    log->append(line).append(1, '\n');
  }
}

std::string Decoder::Impl::print_option(const Option& option) const {
  std::string line = "[[" + std::to_string(option.start) + ".." + std::to_string(option.end) +
                     "]] << source phrase:";
  for (std::size_t p = option.start; p <= option.end; ++p) {
    if (p > option.start) {
      line += ' ';
    }
    line += source_vocab_.decode(search_ids_[p]);
  }
  line += ">> <<target phrase:";
  for (std::size_t k = 0; k < option.word_count; ++k) {
    if (k > 0) {
      line += ' ';
    }
    line += target_vocab_.decode(option.words[k]);
  }
  line += ">> <<total score: " + score_text(option.score) +
          " >> <<floor score: " + score_text(option.future) + " >> <<reordering score: ";
  for (const float score : option.reorder) {
    line += score_text(score) + ' ';
  }
  line += ">> <<alignment: " + std::to_string(option.alignment) + ">>";
  return line;
}

std::string Decoder::Impl::hypothesis_name(const Hypothesis* hypothesis) const {
  if (hypothesis == nullptr) {
    return "none";
  }
  const BeamSearch::name_t name = search_.name(*hypothesis);
  return std::to_string(name.stack) + '.' + std::to_string(name.slot);
}

std::string Decoder::Impl::print_hypothesis(const Hypothesis& hypothesis) const {
  std::string line = "[id=" + hypothesis_name(&hypothesis) + "] [";
  for (std::size_t p = 0; p < search_ids_.size(); ++p) {
    line += (hypothesis.coverage >> p & 1) != 0 ? '1' : '0';
  }
  line += "] [total=" + score_text(hypothesis.total) +
          "] [current=" + score_text(hypothesis.score) + "] [range=";
  if (hypothesis.previous != nullptr) {
    const Option& option = options_.option(hypothesis.option);
    line += std::to_string(option.start) + ".." + std::to_string(option.end);
  }
  line += "] [previous id=" + hypothesis_name(hypothesis.previous) + "]";
  return line;
}

void Decoder::Impl::trace_options(std::string* log) const {
  write_line(kRule, log);
  write_line("translation options:", log);
  for (int start = 0; start < options_.size(); ++start) {
    for (int end = start; end < std::min(options_.size(), start + Option::kMaxSource); ++end) {
      const OptionTable::cell_t cell = options_.cell(start, end);
      for (std::uint32_t k = 0; k < cell.count; ++k) {
        write_line(print_option(options_.option(cell.begin + k)), log);
      }
    }
  }
}

void Decoder::Impl::trace_matrix(std::string* log) const {
  const FutureMatrix& matrix = search_.future_matrix();
  write_line(kRule, log);
  const std::string size = std::to_string(matrix.size());
  // Programs compare this text, so its spelling stays.
  write_line("futrue score matrix (" + size + ' ' + size + ')', log);
  for (int i = 0; i < matrix.size(); ++i) {
    std::string line;
    for (int j = 0; j < matrix.size(); ++j) {
      line += score_text(matrix.at(i, j)) + '\t';
    }
    write_line(line, log);
  }
  write_line(kRule, log);
}

void Decoder::Impl::trace_result(std::string* log) {
  const HypoStack& complete = search_.final_stack();
  write_line("best translation tracing:", log);
  if (complete.size() != 0) {
    for (const Hypothesis* at = &complete.at(0); at != nullptr; at = at->previous) {
      write_line(print_hypothesis(*at), log);
    }
  }
  write_line(kRule, log);
  write_line("translation phrase pairs in nbest list:", log);
  for (std::size_t k = 0; k < complete.size(); ++k) {
    follow(complete.at(k));
    for (const Option* option : chain_) {
      write_line("[phrase_pair]\t" + std::to_string(k) + '\t' + print_option(*option), log);
    }
  }
  write_line(kRule, log);
}

}  // namespace koralite::decoder
