// The language pipelines as handles run them: megabytes a second of each chain on
// ordinary sentences, with positions and without, and time against length on
// lines made to be slow. Linear chains keep their rate as lines grow.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "textProcess/processor.h"
#include "toolkit/io/atomic_file.h"
#include "toolkit/resource/pinyin_builder.h"
#include "toolkit/resource/resource_file.h"
#include "toolkit/segment/segment_builder.h"

namespace {

using namespace koralite;
using textProcess::LangType;
using textProcess::ProcessStr;
using textProcess::ProcessWordSeq;

struct Language {
  const char* name;
  LangType type;
  std::vector<std::string> sources;  // sentences as people write them
  std::vector<std::string> outputs;  // sentences as the decoder writes them
};

const std::vector<Language>& languages() {
  static const std::vector<Language> kList = {
      {"english",
       LangType::kEnglish,
       {"Mr. Smith didn't say when the 1,000 files (see http://ab.cd/ef) would be copied, did he?",
        "“Of course,” she answered, and twenty percent of the well-known programs stopped at "
        "10:30.",
        "He moved to New York in 2019 because the university offered him a better position."},
       {"mr. smith didn 't say when the 1,000 files ( see http://ab.cd/ef ) would be copied ?",
        "\" of course , \" she answered , and twenty percent of the well-known programs stopped .",
        "he moved to new york in 2019 because the university offered him a better position ."}},
      {"chinese",
       LangType::kChinese,
       {"这个程序读取１，０００个文件（见“说明”），然后等待……",
        "张三在上海的大学学习了第二名的成绩，价格是3.14元。",
        "他说：我们明天去北京看朋友，你们也可以一起去吗？"},
       {"这个 程序 读取 1,000 个 文件 （ 见 “ 说明 ” ） ， 然后 等待 …… 。",
        "张三 在 上海 的 大学 学习 了 第二 名 的 成绩 ， 价格 是 3.14 元 。",
        "他 说 ： 我们 明天 去 北京 看 朋友 ， 你们 也 可以 一起 去 吗 ？"}},
      {"japanese",
       LangType::kJapanese,
       {"このプログラムは１，０００個のファイルを読み込みます。",
        "彼は昨日、東京の大学で友達に会いました。"},
       {"この プログラム は 1,000 個 の ファイル を 読み 込み ます 。",
        "彼 は 昨日 、 東京 の 大学 で 友達 に 会い まし た 。"}},
      {"russian",
       LangType::kRussian,
       {"Эта программа читает 1000 файлов и ждёт.",
        "Он переехал в Москву, потому что там есть университет."},
       {"эта программа читает 1000 файлов и ждёт .",
        "он переехал в москву , потому что там есть университет ."}},
  };
  return kList;
}

// A model folder with small resources of every kind, removed at the end.
class Folder {
 public:
  Folder()
      : path_(std::filesystem::temp_directory_path() / ("kora_bench_" + std::to_string(getpid()))) {
    std::filesystem::create_directories(path_);
    using Lines = std::vector<std::string>;
    toolkit::write_resource_file(file("ne"), Lines{"new york\tLOC\t纽约", "上海\tLOC\tShanghai",
                                                   "北京\tLOC\tBeijing", "東京\tLOC\tTokyo"});
    toolkit::write_resource_file(file("ec"), Lines{"(ei) percent ||| 百分之(ci) ||| NUM"});
    toolkit::write_resource_file(file("ce"), Lines{"第(ci)名 ||| no. (ai) ||| ORD"});
    toolkit::write_resource_file(file("recase"), Lines{"2 3 17", "I", "New York", "Smith"});
    toolkit::PinyinBuilder pinyin;
    pinyin.add_line("U+5F20\tkMandarin\tzhāng");
    pinyin.add_line("U+4E09\tkMandarin\tsān");
    pinyin.write(file("pinyin"));
    std::map<std::string, std::uint64_t> counts;
    for (const Language& language : languages()) {
      for (const std::string& line : language.outputs) {
        std::size_t begin = 0;
        while (begin < line.size()) {
          const std::size_t end = std::min(line.find(' ', begin), line.size());
          if (static_cast<unsigned char>(line[begin]) >= 0x80U) {
            ++counts[line.substr(begin, end - begin)];
          }
          begin = end + 1;
        }
      }
    }
    std::vector<toolkit::segment_word_t> words;
    for (const auto& [word, count] : counts) {
      words.push_back({word, count, ""});
    }
    toolkit::build_segment_dictionary(file("words"), words, {});
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::unique_ptr<textProcess::Processor> make(LangType language) const {
    std::string config = "[ne]\nne\n\n[recase]\nrecase\n\n[pinyin]\npinyin\n\n";
    if (language == LangType::kEnglish) {
      config += "[rule]\nec\n\n";
    }
    if (language == LangType::kChinese) {
      config += "[rule]\nce\n\n";
    }
    config += language == LangType::kRussian ? "[single-word-split]\n0\n" : "[segment]\nwords\n";
    toolkit::write_file(file("engine.conf"), config);
    return std::make_unique<textProcess::Processor>(language, language, file("engine.conf"),
                                                    path_.string());
  }

 private:
  std::string file(const std::string& name) const { return (path_ / name).string(); }

  std::filesystem::path path_;
};

void preprocess(textProcess::Processor& processor, const std::string& text, bool placed) {
  ProcessStr str(placed, text);
  str.set_identity();
  ProcessWordSeq words(placed);
  processor.Preprocess(str, words);
  benchmark::DoNotOptimize(words.words().data());
}

void postprocess(textProcess::Processor& processor, const std::string& text, bool placed) {
  ProcessStr str(placed, text);
  str.set_identity();
  processor.Postprocess(str);
  benchmark::DoNotOptimize(str.text().data());
}

using Work = void (*)(textProcess::Processor&, const std::string&, bool);

void add(const Folder& folder, const std::string& name, LangType language, Work work,
         const std::vector<std::string>& texts, bool placed) {
  benchmark::RegisterBenchmark(name.c_str(), [&folder, language, work, texts,
                                              placed](benchmark::State& state) {
    const auto processor = folder.make(language);
    std::int64_t bytes = 0;
    for (auto _ : state) {
      for (const std::string& text : texts) {
        work(*processor, text, placed);
        bytes += static_cast<std::int64_t>(text.size());
      }
    }
    state.SetBytesProcessed(bytes);
  })->Unit(benchmark::kMicrosecond);
}

std::string repeat(const std::string& unit, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += unit;
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  const Folder folder;
  for (const Language& language : languages()) {
    for (const bool placed : {false, true}) {
      const std::string name = language.name + std::string(placed ? "/positions" : "");
      add(folder, "pre/" + name, language.type, preprocess, language.sources, placed);
      add(folder, "post/" + name, language.type, postprocess, language.outputs, placed);
    }
  }
  const std::pair<const char*, std::string> hostile[] = {
      {"letters", "a"},   {"dots", "."},       {"quotes", "\""}, {"hyphens", "-"},
      {"chinese", "中"},  {"blanks", " "},     {"digits", "1"},  {"urls", "a.b/"},
      {"broken", "\xE4"}, {"numbers", "five "}};
  for (const Language& language : languages()) {
    for (const auto& [kind, unit] : hostile) {
      for (const std::size_t size : {std::size_t{1} << 16U, std::size_t{1} << 20U}) {
        const std::string name =
            std::string(language.name) + "/" + kind + "/" + std::to_string(size);
        add(folder, "hostile/pre/" + name, language.type, preprocess, {repeat(unit, size)}, true);
        add(folder, "hostile/post/" + name, language.type, postprocess, {repeat(unit, size)}, true);
      }
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
}
