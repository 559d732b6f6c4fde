// Edits of model files that know their layout: counts and offsets in headers, whole
// records, extreme numbers. An edit is a few bytes of an input, so that a small change
// of the input is a small change of a model that mostly still loads. The mutator of
// targets whose input is a file makes such edits of random bytes.
#pragma once

#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fuzz/fuzz.h"
#include "tests/support/small_folder.h"

namespace kora_fuzz {

inline constexpr const char* kDirectionNames[] = {"zh-en", "en-zh", "ja-en", "ko-zh"};

// The small model folders 0 to 7: four directions, each with compact scores and with
// plain ones. Made when first asked for; always sound between two inputs.
class SmallFolders {
 public:
  struct folder_t {
    std::string path;
    std::vector<std::string> files;            // names, in order, without the manifest
    std::map<std::string, std::string> sound;  // name to bytes
  };

  const folder_t& get(unsigned kind) {
    kind %= 8;
    folder_t& folder = folders_[kind];
    if (folder.files.empty()) {
      folder.path = place_.file(std::to_string(kind));
      kora_test::make_small_folder(folder.path, kDirectionNames[kind % 4], kind < 4, true);
      for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        const std::string name = entry.path().filename().string();
        if (name != "manifest.conf") {
          folder.files.push_back(name);
        }
        folder.sound[name] = read(entry.path().string());
      }
      std::sort(folder.files.begin(), folder.files.end());
    }
    return folder;
  }

 private:
  Folder place_;
  folder_t folders_[8];
};

// Where the records of a file begin and how long each is.
struct layout_t {
  std::size_t first;
  std::size_t size;
};

inline std::uint32_t number_at(std::string_view file, std::size_t place) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4 && place + i < file.size(); ++i) {
    value |= std::uint32_t{static_cast<unsigned char>(file[place + i])} << (8 * i);
  }
  return value;
}

inline layout_t layout_of(const std::string& name, std::string_view file) {
  if (name == "lm") {
    return {2, 6};
  }
  if (name == "phrases") {
    return {8, 8};
  }
  if (name == "phrases.nodes") {
    return {0, 10};
  }
  if (name.ends_with(".vocab")) {
    return {16, 4};
  }
  if (name == "pinyin") {
    return {4, 5};
  }
  if (name.starts_with("segment")) {
    return {24, 2};
  }
  if (name == "recase" || name == "entities" || name == "rules" || name == "anti-names") {
    return {4, std::max(1U, number_at(file, 0) % 4096)};
  }
  return {0, 4};
}

// The places of 32-bit numbers that could count or point to something in the file.
inline std::size_t field_place(std::string_view file, std::size_t pick) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i + 4 <= file.size(); ++i) {
    const std::uint32_t value = number_at(file, i);
    if (value > 1 && value <= file.size()) {
      places.push_back(i);
    }
  }
  return places.empty() ? 0 : places[pick % places.size()];
}

inline std::uint32_t edge_value(unsigned which, std::uint32_t old, std::size_t size) {
  const auto whole = static_cast<std::uint32_t>(size);
  const std::uint32_t values[] = {
      0,       1,       0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, whole,  whole - 1, whole + 1,
      old + 1, old - 1, old * 2,    old / 2,    0 - old,    0xFFFF, whole / 4, whole / 8 - 1};
  return values[which % std::size(values)];
}

// Takes one edit of at most eight bytes from `bytes` and does it.
inline void edit(Bytes& bytes, const std::string& name, std::string& file) {
  const unsigned action = bytes.byte() % 12;
  const unsigned aim = bytes.byte() % 5;
  const std::size_t pick = bytes.number(2);
  const std::size_t size = file.size();
  if (size == 0) {
    file.append(pick % 64, static_cast<char>(action));
    return;
  }
  const layout_t layout = layout_of(name, file);
  const std::size_t records = size > layout.first ? (size - layout.first) / layout.size : 0;
  const std::size_t record = layout.first + (records == 0 ? 0 : pick % records * layout.size);
  std::size_t place = 0;
  switch (aim) {
    case 0:
      place = pick % std::min<std::size_t>(size, 40);
      break;
    case 1:
      place = record + bytes.byte() % layout.size;
      break;
    case 2:
      place = size - 1 - pick % std::min<std::size_t>(size, 64);
      break;
    case 3:
      place = field_place(file, pick);
      break;
    default:
      place = pick << (size > 0x10000 ? 4 : 0);
  }
  place %= size;
  const auto put = [&](std::uint32_t value, std::size_t width) {
    for (std::size_t i = 0; i < width && place + i < size; ++i) {
      file[place + i] = static_cast<char>(value >> (8 * i));
    }
  };
  switch (action) {
    case 0:
      put(bytes.byte(), 1);
      break;
    case 1:
      put(bytes.number(2), 2);
      break;
    case 2:
      put(bytes.number(4), 4);
      break;
    case 3:
    case 4:
      put(edge_value(bytes.byte(), number_at(file, place), size), action == 3 ? 4 : 2);
      break;
    case 5: {  // another field's number: a pointer to some other thing
      const std::uint32_t value = number_at(file, field_place(file, bytes.number(2)));
      put(value, 4);
      break;
    }
    case 6:
      file.resize(place);
      break;
    case 7:
      file.append(file, place, bytes.byte());
      break;
    case 8:  // a record twice, or one less
    case 9:
      if (records == 0) {
        break;
      }
      if (action == 8) {
        file.insert(record, std::string(file, record, layout.size));
      } else {
        file.erase(record, layout.size);
      }
      break;
    case 10: {  // two records exchanged
      const std::size_t other = bytes.number(2) % (records + 1);
      const std::size_t from = std::min(record, layout.first + other * layout.size);
      const std::size_t to = std::max(record, layout.first + other * layout.size);
      if (from == to || to + layout.size > size) {
        break;
      }
      std::swap_ranges(file.begin() + static_cast<std::ptrdiff_t>(from),
                       file.begin() + static_cast<std::ptrdiff_t>(from + layout.size),
                       file.begin() + static_cast<std::ptrdiff_t>(to));
      break;
    }
    default:
      file[place] = static_cast<char>(file[place] ^ (1 << bytes.byte() % 8));
  }
}

// The same with random bytes.
inline void edit(std::minstd_rand& random, const std::string& name, std::string& file) {
  std::uint8_t dice[12];
  for (std::uint8_t& die : dice) {
    die = static_cast<std::uint8_t>(random() >> 8U);
  }
  Bytes bytes(dice, sizeof dice);
  edit(bytes, name, file);
}

}  // namespace kora_fuzz
