// The text steps: megabytes a second of each on ordinary text, and time against
// length on texts made to be slow. Linear steps keep their rate as texts grow.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/text_split.h"
#include "textProcess/blank_str_processors.h"
#include "textProcess/char_str_processors.h"
#include "textProcess/detokenize_eng_str_processors.h"
#include "textProcess/eng_recase_str_processor.h"
#include "textProcess/norm_str_processors.h"
#include "textProcess/process_str.h"
#include "textProcess/tokenize_eng_str_processor.h"

namespace {

using namespace koralite;
using textProcess::AbstractStringProcessor;
using textProcess::ProcessStr;

constexpr std::string_view kEnglish =
    "Mr. Smith didn't say when the 1,000 files (see http://ab.cd/ef) would be copied, did he? \"Of "
    "course,\" she answered.Then they waited... A well-known program reads them at 10:30 each "
    "day. ";
constexpr std::string_view kTokenized =
    "mr. smith didn 't say when the 1,000 files ( see http://ab.cd/ef ) would be copied , did he ? "
    "\" of course , \" she answered . then they waited ... a well-known program reads them . ";
constexpr std::string_view kChinese =
    "这个程序读取１，０００个文件（见“说明”），然后等待…… 请在10：30 之前 把结果写到 disk #1 "
    "里。好吗？";

std::string repeat(std::string_view piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) {
    text += piece;
  }
  return text;
}

void run_step(benchmark::State& state, AbstractStringProcessor& step, const std::string& text,
              bool placed) {
  for (auto _ : state) {
    state.PauseTiming();
    ProcessStr str(placed, text);
    str.set_identity();
    state.ResumeTiming();
    benchmark::DoNotOptimize(step.Process(str));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void add(const std::string& name, const std::string& text, bool placed,
         std::function<std::unique_ptr<AbstractStringProcessor>()> make) {
  benchmark::RegisterBenchmark(
      name.c_str(), [=](benchmark::State& state) { run_step(state, *make(), text, placed); });
}

template <class Step>
std::unique_ptr<AbstractStringProcessor> make_step() {
  return std::make_unique<Step>(0);
}

void add_steps() {
  using namespace textProcess;
  using Make = std::function<std::unique_ptr<AbstractStringProcessor>()>;
  const std::vector<std::tuple<std::string, std::string_view, Make>> steps = {
      {"tokenize_eng", kEnglish, make_step<TokenizeEngStrProcessor>},
      {"insert_blank", kEnglish, make_step<InsertBlankEngStrProcessor>},
      {"lowercase_eng", kEnglish, make_step<LowercaseEngStrProcessor>},
      {"clean", kEnglish, make_step<CleanStrProcessor>},
      {"erase", kEnglish, make_step<EraseCommaStrProcessor>},
      {"replace_spec_char", kEnglish, make_step<ReplaceSpecCharStrProcessor>},
      {"norm_punc_eng", kEnglish, make_step<NormPuncEngStrProcessor>},
      {"detoken", kTokenized, make_step<DetokenizeEngStrProcessor>},
      {"unique_blank", kTokenized, make_step<UniqueBlankStrProcessor>},
      {"connect_ellipsis", kTokenized, make_step<ConnectEllipsisStrProcessor>},
      {"restore_spec_char", kTokenized, make_step<RestoreSpecCharStrProcessor>},
      {"eng-recase", kTokenized,
       [] { return std::make_unique<EngRecaseStrProcessor>(0, nullptr, ""); }},
      {"sbc2dbc", kChinese, make_step<Sbc2DbcStrProcessor>},
      {"norm_punc_chs", kChinese, make_step<NormPuncChsStrProcessor>},
      {"erase_blank_chs", kChinese, make_step<EraseBlankChsStrProcessor>},
  };
  constexpr std::size_t kSize = 64 << 10;
  for (const auto& [name, text, make] : steps) {
    add(name, repeat(text, kSize), false, make);
    add(name + "/positions", repeat(text, kSize), true, make);
  }
}

template <class Split>
void add_splitter(const std::string& name, std::string_view piece, Split split) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const std::string text = repeat(piece, 64 << 10);
    std::string out;
    for (auto _ : state) {
      split(text, out);
      benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  });
}

void add_hostile() {
  using namespace textProcess;
  const std::pair<const char*, std::string_view> pieces[] = {
      {"letters", "a"}, {"dots", "."},  {"quotes", "\""},  {"apostrophes", "a'"}, {"a.b", "a.b"},
      {"urls", "://"},  {"at", "@a.b"}, {"chinese", "中"}, {"calls", "a_("},      {"odd", "\xff"}};
  for (const auto& [what, piece] : pieces) {
    for (const std::size_t size : {64UL << 10U, 256UL << 10U, 1024UL << 10U, 4096UL << 10U}) {
      add("hostile/tokenize_eng/" + std::string(what) + "/" + std::to_string(size >> 10U) + "K",
          repeat(piece, size), false, make_step<TokenizeEngStrProcessor>);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  add_steps();
  add_splitter("split_sent_eng", kEnglish, [](const std::string& in, std::string& out) {
    common::text_split_sent_eng(in, out);
  });
  add_splitter("split_sent_chs", kChinese, [](const std::string& in, std::string& out) {
    common::text_split_sent_chs(in, out);
  });
  add_splitter("uppercase_eng", kTokenized, [](const std::string& in, std::string& out) {
    common::text_uppercase_eng(in, out);
  });
  add_hostile();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
