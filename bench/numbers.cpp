// Numbers: phrases a second through the keyword filter and the rules, and round
// trips through every generator and acceptor. Run from the repository's root, where
// the rule files are.
//   bench_numbers                 the benchmarks
//   bench_numbers --round-trips   the table of counts (a minute or so)

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "numtrans/arabic_num_acceptor.h"
#include "numtrans/arabic_num_generator.h"
#include "numtrans/chs_num_acceptor.h"
#include "numtrans/chs_num_generator.h"
#include "numtrans/eng_num_acceptor.h"
#include "numtrans/eng_num_generator.h"
#include "toolkit/resource/rule_source.h"

namespace {

using namespace koralite;

std::unique_ptr<numtrans::RuleTranslator> load(const std::string& direction) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("kora_bench_rules_" + std::to_string(::getpid()) + direction);
  toolkit::write_rule_file(toolkit::read_rule_source("data/rules/" + direction + ".rules"),
                           path.string());
  auto rules = toolkit::open_rules(direction, path.string());
  std::filesystem::remove(path);
  return rules;
}

// Every span of up to eight tokens, as the word step asks for them when a
// dictionary is there; `join` stands between the tokens.
std::vector<std::string> spans(const std::string& text, std::string_view join) {
  std::istringstream in(text);
  const std::vector<std::string> tokens{std::istream_iterator<std::string>(in), {}};
  std::vector<std::string> phrases;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    std::string phrase;
    for (std::size_t n = 0; n < 8 && i + n < tokens.size(); ++n) {
      if (n > 0) {
        phrase += join;
      }
      phrase += tokens[i + n];
      phrases.push_back(phrase);
    }
  }
  return phrases;
}

constexpr const char* kEnglish =
    "the printer driver could not be installed because the file was removed by another user , and "
    "a copy of the settings is kept in the folder of the program .";
constexpr const char* kEnglishNumbers =
    "on may 3 , 2024 , the company sold 3.5 million phones in two weeks for $ 299.99 each , 20 % "
    "more than in the first quarter , and one of every three went to asia .";
constexpr const char* kChinese =
    "由于 文件 已 被 另 一个 用户 删除 ， 无法 安装 打印机 驱动 程序 ， 设置 的 副本 保存 在 "
    "程序 的 文件夹 中 。";
constexpr const char* kChineseNumbers =
    "2024 年 5 月 3 日 ， 该 公司 两 周 内 以 299.99 美元 的 价格 售出 350 万 部 手机 ， 比 第一 "
    "季度 多 百分之二十 ， 每 三 部 有 一部 销往 亚洲 。";

void translate(benchmark::State& state, const std::string& direction, const char* text,
               const char* join) {
  const auto rules = load(direction);
  const std::vector<std::string> phrases = spans(text, join);
  std::size_t hits = 0;
  std::string target;
  std::string type;
  for (auto _ : state) {
    hits = 0;
    for (const std::string& phrase : phrases) {
      target.clear();
      hits += rules->translate(phrase, target, type);
    }
    benchmark::DoNotOptimize(hits);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(phrases.size()));
  state.counters["spans"] = static_cast<double>(phrases.size());
  state.counters["translated"] = static_cast<double>(hits);
}

// The keyword filter alone, as a sentence without numbers meets it.
void filter(benchmark::State& state, const std::string& direction, const char* text,
            const char* join) {
  const auto rules = load(direction);
  const std::vector<std::string> phrases = spans(text, join);
  for (auto _ : state) {
    for (const std::string& phrase : phrases) {
      benchmark::DoNotOptimize(rules->is_acceptable(phrase.c_str()));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(phrases.size()));
}

void load_rules(benchmark::State& state, const std::string& direction) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("kora_bench_load_" + std::to_string(::getpid()) + direction);
  const auto source = toolkit::read_rule_source("data/rules/" + direction + ".rules");
  toolkit::write_rule_file(source, path.string());
  for (auto _ : state) {
    benchmark::DoNotOptimize(toolkit::open_rules(direction, path.string()));
  }
  state.counters["rules"] = static_cast<double>(source.compiled().size());
  state.counters["file_bytes"] = static_cast<double>(std::filesystem::file_size(path));
  std::filesystem::remove(path);
}

// One way of writing numbers, and how many came back whole, came back otherwise
// or could not be read whole.
struct Way {
  const char* category;
  const char* name;
  const numtrans::NumGenerator* out;
  const numtrans::NumAcceptor* in;
  std::uint64_t same = 0;
  std::uint64_t other = 0;
  std::uint64_t unread = 0;

  void run(std::int64_t value) {
    std::string text;
    numtrans::Number back;
    out->generate({-1, value, 1}, category, text);
    const char* cursor = text.c_str();
    if (!in->accept(cursor, category, back) || *cursor != '\0') {
      ++unread;
    } else if (back.numerator == value && back.denominator == 1) {
      ++same;
    } else {
      ++other;
    }
  }
};

void print_round_trips() {
  const numtrans::ArabicNumAcceptor arabic_in;
  const numtrans::ChsNumAcceptor chinese_in;
  const numtrans::EngNumAcceptor english_in;
  const numtrans::ArabicNumGenerator arabic_out;
  const numtrans::ChsNumGenerator chinese_out;
  const numtrans::EngNumGenerator english_out;
  const std::vector<Way> ways = {
      {"(ai)", "Arabic integer", &arabic_out, &arabic_in},
      {"(ads)", "Arabic digits", &arabic_out, &arabic_in},
      {"(ao)", "Arabic ordinal", &arabic_out, &arabic_in},
      {"(ci)", "Chinese integer", &chinese_out, &chinese_in},
      {"(cds)", "Chinese digits", &chinese_out, &chinese_in},
      {"(ei)", "English integer", &english_out, &english_in},
      {"(eds)", "English digits", &english_out, &english_in},
      {"(eo)", "English ordinal", &english_out, &english_in},
  };
  const auto table = [](const char* title, const std::vector<Way>& rows) {
    std::printf(
        "%s\n| Notation | Same | Another number | Not read back whole |\n|---|---|---|---|\n",
        title);
    for (const Way& way : rows) {
      std::printf("| %s `%s` | %ju | %ju | %ju |\n", way.name, way.category,
                  static_cast<std::uintmax_t>(way.same), static_cast<std::uintmax_t>(way.other),
                  static_cast<std::uintmax_t>(way.unread));
    }
    std::printf("\n");
  };
  std::vector<Way> all = ways;
  for (Way& way : all) {
    for (std::int64_t value = 0; value < 1000000; ++value) {
      way.run(value);
    }
  }
  table("Every integer below 1,000,000:\n", all);
  std::vector<Way> some = ways;
  for (Way& way : some) {
    std::mt19937_64 random(20240503);
    for (int i = 0; i < 1000000; ++i) {
      way.run(static_cast<std::int64_t>(random() % 1000000000000000000ULL));
    }
  }
  table("A million random integers below 10^18:\n", some);
  some = ways;
  for (Way& way : some) {
    std::mt19937_64 random(20240504);
    for (int i = 0; i < 1000000; ++i) {
      way.run(static_cast<std::int64_t>(random() % 1000000000000ULL));
    }
  }
  table("A million random integers below 10^12:\n", some);
}

}  // namespace

BENCHMARK_CAPTURE(filter, english_without_numbers, "en-zh", kEnglish, " ");
BENCHMARK_CAPTURE(translate, english_without_numbers, "en-zh", kEnglish, " ");
BENCHMARK_CAPTURE(translate, english_with_numbers, "en-zh", kEnglishNumbers, " ");
BENCHMARK_CAPTURE(filter, chinese_without_numbers, "zh-en", kChinese, "");
BENCHMARK_CAPTURE(translate, chinese_without_numbers, "zh-en", kChinese, "");
BENCHMARK_CAPTURE(translate, chinese_with_numbers, "zh-en", kChineseNumbers, "");
BENCHMARK_CAPTURE(load_rules, english, "en-zh")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_rules, chinese, "zh-en")->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "--round-trips") {
    print_round_trips();
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
