// Makes a segment out of text and inline tags, whether these pair or not.
//
// Tags that pair become elements. One without its partner reaches to the end of the
// segment (or from its start); where that would cross another element it is a point.
// A value for one segment at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "document/inline_segment.h"

namespace koralite::document {

class SegmentBuilder {
 public:
  enum class Kind : std::uint8_t { kText, kOpen, kClose, kPoint };

  struct item_t {
    Kind kind = Kind::kText;
    std::size_t begin = 0;  // bytes of the document
    std::size_t end = 0;
    std::string markup;    // of tags and points: what is written
    std::string name;      // of tags
    bool is_word = false;  // of a point: part of a sentence, such as a piece of code
  };

  explicit SegmentBuilder(std::string_view document) : document_(document) {}

  void add(item_t item) { items_.push_back(std::move(item)); }
  bool empty() const { return items_.empty(); }

  // Finishes the segment: `before` and `after` get what stands around its text (tags that
  // hold all of it, spaces), `segment` the rest; what its text is by `add_text`, which appends
  // a text item's bytes begin to end to the segment. False, with all in `before`, if there
  // is nothing to translate. Empty afterwards.
  template <class AddText>
  bool finish(segment_t& segment, std::string& before, std::string& after, AddText&& add_text) {
    segment.clear();
    before.clear();
    after.clear();
    std::size_t first = 0;
    std::size_t last = items_.size();
    pair_tags(first, last);
    strip(first, last, before, after);
    if (first == last) {
      before += after;
      after.clear();
      items_.clear();
      return false;
    }
    pair_tags(first, last);
    std::vector<std::size_t> place(items_.size() + 1, 0);
    for (std::size_t i = first; i < last; ++i) {
      place[i] = segment.text.size();
      if (items_[i].kind == Kind::kText) {
        add_text(items_[i].begin, items_[i].end, segment);
      } else if (items_[i].kind == Kind::kPoint || roles_[i] == Role::kPoint) {
        add_point(items_[i].begin, items_[i].end, items_[i].markup, segment);
      }
    }
    add_elements(first, last, place, segment);
    inside_.clear();
    for (std::size_t i = first; i < last; ++i) {
      if (items_[i].kind == Kind::kText) {
        inside_ += bytes(items_[i]);
      } else {
        inside_ += items_[i].markup;
      }
    }
    items_.clear();
    return true;
  }

  // What the last finished segment is without a translation.
  const std::string& inside() const { return inside_; }

  static void add_point(std::size_t begin, std::size_t end, std::string markup, segment_t& segment);

 private:
  enum class Role : std::uint8_t { kNone, kPaired, kPoint, kToEnd, kFromStart };

  void pair_tags(std::size_t first, std::size_t last);
  void strip(std::size_t& first, std::size_t& last, std::string& before, std::string& after);
  void add_elements(std::size_t first, std::size_t last, const std::vector<std::size_t>& place,
                    segment_t& segment) const;
  std::string_view bytes(const item_t& item) const {
    return document_.substr(item.begin, item.end - item.begin);
  }
  static bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
  }

  std::string_view document_;
  std::vector<item_t> items_;
  std::string inside_;
  std::vector<Role> roles_;
  std::vector<std::size_t> partners_;
  std::vector<std::size_t> parents_;  // of opening tags: the opening tag around, + 1; 0 for none
};

}  // namespace koralite::document
