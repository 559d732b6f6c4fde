#include "common/string_index.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "common/byte_reader.h"

namespace koralite::common {
namespace {

std::string_view until_zero(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// The first four bytes, the first one highest, short strings filled up with zero bytes: unsigned
// order of prefixes is the order of the strings wherever the prefixes differ.
std::uint32_t prefix_of(std::string_view text) {
  std::uint32_t prefix = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    prefix = prefix << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
  }
  return prefix;
}

// Sign of a zero-terminated string against a key without zero bytes.
int compare(const char* text, std::string_view key) {
  for (const char c : key) {
    const int difference =
        static_cast<int>(static_cast<unsigned char>(*text)) - static_cast<unsigned char>(c);
    if (difference != 0) {
      return difference;  // also where text ends first
    }
    ++text;
  }
  return *text == '\0' ? 0 : 1;
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

void append_le(std::vector<unsigned char>& bytes, std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) {
    bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
  }
}

[[noreturn]] void damaged() {
  throw std::runtime_error("can't read file in StringIndex::load()");
}

}  // namespace

bool StringIndex::locate(std::string_view text, std::size_t& position) const {
  text = until_zero(text);
  const std::uint32_t prefix = prefix_of(text);
  std::size_t low = 0;
  std::size_t high = nodes_.size();  // one past the last candidate
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const node_t& node = nodes_[middle];
    const int order =
        node.prefix != prefix ? (node.prefix < prefix ? -1 : 1) : compare(node.text, text);
    if (order == 0) {
      position = middle;
      return true;
    }
    if (order > 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  position = low;
  return false;
}

bool StringIndex::find(std::string_view text, std::int32_t& id) const {
  std::size_t position = 0;
  if (!locate(text, position)) {
    return false;
  }
  id = nodes_[position].id;
  return true;
}

const char* StringIndex::insert(std::string_view text, std::int32_t id) {
  text = until_zero(text);
  std::size_t position = 0;
  if (locate(text, position)) {
    return nullptr;
  }
  const char* stored = pool_.add_string(text);
  nodes_.insert(nodes_.begin() + static_cast<std::ptrdiff_t>(position),
                node_t{stored, id, prefix_of(text)});
  key_bytes_ += text.size() + 1;
  return stored;
}

void StringIndex::insert(std::vector<node_t> nodes) {
  for (node_t& node : nodes) {
    node.prefix = prefix_of(node.text);
  }
  if (!std::is_sorted(nodes.begin(), nodes.end())) {
    std::stable_sort(nodes.begin(), nodes.end());
  }
  const auto equal = [](const node_t& a, const node_t& b) {
    return a.prefix == b.prefix && std::strcmp(a.text, b.text) == 0;
  };
  std::vector<node_t> merged;
  if (nodes_.empty()) {
    merged = std::move(nodes);
  } else {
    // std::merge takes equal nodes of the first range first, so what was there stays.
    merged.resize(nodes_.size() + nodes.size());
    std::merge(nodes_.begin(), nodes_.end(), nodes.begin(), nodes.end(), merged.begin());
  }
  merged.erase(std::unique(merged.begin(), merged.end(), equal), merged.end());
  nodes_ = std::move(merged);
  key_bytes_ = 0;
  for (const node_t& node : nodes_) {
    key_bytes_ += std::strlen(node.text) + 1;
  }
}

std::vector<unsigned char> StringIndex::serialize() const {
  std::vector<unsigned char> bytes;
  bytes.reserve(16 + 4 * nodes_.size() + static_cast<std::size_t>(key_bytes_));
  append_le(bytes, nodes_.size(), 8);
  append_le(bytes, key_bytes_, 8);
  for (const node_t& node : nodes_) {
    append_le(bytes, static_cast<std::uint32_t>(node.id), 4);
  }
  for (const node_t& node : nodes_) {
    bytes.insert(bytes.end(), node.text, node.text + std::strlen(node.text) + 1);
  }
  return bytes;
}

void StringIndex::save(const std::string& path) const {
  const std::vector<unsigned char> bytes = serialize();
  // Strings of a loaded file may be mapped from this very path: its old bytes must not change.
  // Devices cannot be replaced and are written directly.
  std::error_code error;
  const auto kind = std::filesystem::status(path, error).type();
  const bool replace =
      kind == std::filesystem::file_type::regular || kind == std::filesystem::file_type::not_found;
  const std::string target = replace ? path + ".part" : path;
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(target.c_str(), "wb"));
  if (!file) {
    throw std::runtime_error("failed to save string index [file=" + path + "]");
  }
  bool good = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  good = std::fclose(file.release()) == 0 && good;
  if (good && replace) {
    std::filesystem::rename(target, path, error);
    good = !error;
  }
  if (!good) {
    if (replace) {
      std::filesystem::remove(target, error);
    }
    throw std::runtime_error("can't write data in StringIndex::save()");
  }
}

void StringIndex::load(const FilePath& path) {
  MappedFile file =
      MappedFile::need(path, "failed to load string index [file=" + path.text() + "]");
  ByteReader reader(file.data());
  std::uint64_t entries = 0;
  std::uint64_t key_size = 0;
  std::span<const unsigned char> ids;
  std::span<const unsigned char> keys;
  if (!reader.read(entries) || !reader.read(key_size) || !reader.fits(entries, 4) ||
      !reader.read_bytes(4 * entries, ids) || !reader.read_bytes(key_size, keys)) {
    damaged();
  }
  // Each string has at least its zero byte, and the last byte ends the last string: from here on
  // every string found by its zero byte lies inside the file.
  if (entries > key_size || (key_size > 0 && keys.back() != 0)) {
    damaged();
  }

  std::vector<node_t> nodes;
  nodes.reserve(static_cast<std::size_t>(entries));
  const char* at = reinterpret_cast<const char*>(keys.data());
  const char* const end = at + keys.size();
  bool sorted = true;
  for (std::size_t i = 0; i < entries; ++i) {
    if (at == end) {
      damaged();
    }
    const std::string_view text(at);
    nodes.push_back({at, load_le<std::int32_t>(ids.data() + 4 * i), prefix_of(text)});
    if (i > 0 && !(nodes[i - 1] < nodes[i])) {
      sorted = false;
    }
    at += text.size() + 1;
  }
  const auto used = static_cast<std::uint64_t>(at - reinterpret_cast<const char*>(keys.data()));

  if (!sorted) {
    std::stable_sort(nodes.begin(), nodes.end());
    const auto same = [](const node_t& a, const node_t& b) { return !(a < b); };
    if (std::adjacent_find(nodes.begin(), nodes.end(), same) != nodes.end()) {
      damaged();
    }
  }
  files_.reserve(files_.size() + 1);  // nothing may fail once the nodes are in
  if (nodes_.empty()) {
    nodes_ = std::move(nodes);
    key_bytes_ = entries > 0 ? used : 0;
  } else {
    insert(std::move(nodes));
  }
  if (entries > 0) {
    files_.push_back(std::move(file));
  }
}

}  // namespace koralite::common
