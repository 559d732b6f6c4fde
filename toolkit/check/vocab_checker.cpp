#include <exception>
#include <span>
#include <string_view>

#include "common/byte_reader.h"
#include "toolkit/check/model_files.h"

namespace koralite::toolkit {

namespace {

// Which protected spans a model was trained with; the others are unknown words to it.
std::string known_span_tags(const decoder::Vocab& vocab) {
  std::string known;
  for (const char* name : {"lit", "mark", "ph"}) {
    int id = 0;
    if (vocab.find(("<" + std::string(name) + ">#0").c_str(), id)) {
      known += (known.empty() ? "protected spans known as " : ", ") + std::string(name);
    }
  }
  return known.empty() ? "protected spans are unknown words" : known;
}

}  // namespace

void check_vocab(FileReport report, decoder::Vocab& vocab) {
  const auto file = report.open();
  if (!file) {
    return;
  }
  common::ByteReader reader(file->data());
  std::uint64_t entries = 0;
  std::uint64_t key_bytes = 0;
  if (!reader.read_u64(entries) || !reader.read_u64(key_bytes)) {
    return report.wrong("byte 0", "the file ends inside its head");
  }
  if (!reader.fits(entries, 4)) {
    return report.wrong("byte 0", "more entries than the file holds");
  }
  std::span<const unsigned char> keys;
  reader.skip(entries * 4);
  if (!reader.read_bytes(key_bytes, keys)) {
    return report.wrong("byte 8", "the strings leave the file");
  }
  if (reader.position() != file->size()) {
    report.wrong(at("byte", reader.position()), "bytes after the last string");
  }
  std::string_view text(reinterpret_cast<const char*>(keys.data()), keys.size());
  std::string_view last;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) {
      report.wrong(at("string", i), "has no end");
      break;
    }
    const std::string_view word = text.substr(0, end);
    if (i > 0 && word <= last) {
      report.wrong(at("string", i), "out of order");
    }
    last = word;
    text.remove_prefix(end + 1);
  }
  try {
    vocab.load(report.path().c_str());
  } catch (const std::exception& error) {
    return report.wrong("ids", error.what());
  }
  const char* unknown = vocab.decode(decoder::Vocab::kFirstWordId);
  if (std::string_view(unknown) != "<unk>") {
    report.wrong("id 256", "is '" + std::string(unknown) + "', not '<unk>'");
  }
  report.fact(std::to_string(vocab.word_count()) + " words, " + std::to_string(vocab.ne_count()) +
              " tag words; " + known_span_tags(vocab));
}

}  // namespace koralite::toolkit
