#include "document/inline_segment.h"

#include <algorithm>
#include <utility>

#include "common/text_class.h"
#include "document/markup_scanner.h"
#include "document/utf8.h"

namespace koralite::document {

using common::align_t;

namespace {

// Above these the tags are kept in place by translating the text between them by itself.
constexpr std::size_t kMostElements = 500;
constexpr std::size_t kMostWork = 20'000'000;  // elements times links

// Control bytes that stand for a point's markup in the translation.
constexpr char kPointOpen = '\x1C';
constexpr char kPointClose = '\x1D';

std::int32_t narrow(std::size_t value) {
  return static_cast<std::int32_t>(value);
}

// A part of the output with the part of the text that it comes from.
struct unit_t {
  std::size_t source_begin = 0;
  std::size_t source_end = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
  std::size_t owner = 0;  // index + 1 of the innermost element; 0 for none
};

class Placement {
 public:
  Placement(LineTranslator& lines, const segment_t& segment, const line_result_t& translated)
      : lines_(lines), segment_(segment), translated_(translated) {}

  // Where each element begins and ends in the output.
  std::vector<std::pair<std::size_t, std::size_t>> run() {
    make_units();
    std::vector<std::pair<std::size_t, std::size_t>> ranges(segment_.elements.size());
    for (std::size_t e = 0; e < segment_.elements.size(); ++e) {
      const std::size_t parent = segment_.elements[e].parent;
      const auto around = parent == 0
                              ? std::pair<std::size_t, std::size_t>(0, translated_.text.size())
                              : ranges[parent - 1];
      if (!find_range(e, around, ranges[e])) {
        const std::size_t place =
            std::clamp(end_before(segment_.elements[e].begin), around.first, around.second);
        ranges[e] = {place, place};
      }
    }
    return ranges;
  }

 private:
  const std::string& text() const { return translated_.text; }

  // Where the words that stand before a place of the source end in the output.
  std::size_t end_before(std::size_t place) const {
    std::size_t best = 0;
    std::size_t end = 0;
    for (const unit_t& unit : units_) {
      if (unit.source_end <= place && unit.source_end >= best) {
        best = unit.source_end;
        end = unit.end;
      }
    }
    return end;
  }

  std::size_t owner_of(std::size_t begin, std::size_t end) const {
    std::size_t owner = 0;
    for (std::size_t e = 0; e < segment_.elements.size(); ++e) {
      const element_t& element = segment_.elements[e];
      if (element.begin <= begin && end <= element.end && element.begin < element.end) {
        owner = e + 1;  // children come after their parents
      }
    }
    return owner;
  }

  bool is_within(std::size_t owner, std::size_t element) const {
    while (owner > element + 1) {
      owner = segment_.elements[owner - 1].parent;
    }
    return owner == element + 1;
  }

  void make_units() {
    for (const align_t& link : translated_.links) {
      units_.push_back({static_cast<std::size_t>(link.source_first),
                        static_cast<std::size_t>(link.source_last) + 1,
                        static_cast<std::size_t>(link.target_first),
                        static_cast<std::size_t>(link.target_last) + 1, 0});
    }
    // A phrase that an element cuts through is cut too.
    for (std::size_t e = 0; e < segment_.elements.size(); ++e) {
      const element_t& element = segment_.elements[e];
      if (element.begin == element.end) {
        continue;
      }
      std::vector<unit_t> cut;
      for (const unit_t& unit : units_) {
        const bool overlaps = unit.source_begin < element.end && element.begin < unit.source_end;
        const bool inside = element.begin <= unit.source_begin && unit.source_end <= element.end;
        if (!overlaps || inside) {
          cut.push_back(unit);
        } else {
          cut_unit(unit, element, cut);
        }
      }
      units_ = std::move(cut);
    }
    for (unit_t& unit : units_) {
      unit.owner = owner_of(unit.source_begin, unit.source_end);
    }
  }

  // Cuts a unit into what lies before, inside and behind an element.
  void cut_unit(const unit_t& unit, const element_t& element, std::vector<unit_t>& units) {
    const std::size_t a = std::max(unit.source_begin, element.begin);
    const std::size_t b = std::min(unit.source_end, element.end);
    const std::string_view target =
        std::string_view(text()).substr(unit.begin, unit.end - unit.begin);
    std::size_t begin = std::string_view::npos;
    std::size_t end = 0;
    // What the element's words are by themselves, if the phrase has that too.
    lines_.translate(segment_.text.substr(a, b - a), {}, false, alone_);
    if (!alone_.text.empty()) {
      begin = find_alone(target, end);
    }
    if (begin == std::string_view::npos) {
      const auto share = [&](std::size_t place) {
        const double part = static_cast<double>(place - unit.source_begin) /
                            static_cast<double>(unit.source_end - unit.source_begin);
        return snapped(target,
                       static_cast<std::size_t>(part * static_cast<double>(target.size()) + 0.5));
      };
      begin = share(a);
      end = share(b);
      if (begin == end) {
        // Too short to cut: the element gets all of it.
        begin = 0;
        end = target.size();
      }
    }
    // In the output the inside may stand anywhere; the rest keeps its order.
    if (begin > 0) {
      units.push_back({unit.source_begin, std::max(a, unit.source_begin + 1), unit.begin,
                       unit.begin + begin, 0});
      if (a == unit.source_begin) {
        units.back().source_begin = b;
        units.back().source_end = unit.source_end;
      }
    }
    units.push_back({a, b, unit.begin + begin, unit.begin + end, 0});
    if (end < target.size()) {
      const bool behind = b < unit.source_end;
      units.push_back({behind ? b : unit.source_begin, behind ? unit.source_end : a,
                       unit.begin + end, unit.end, 0});
    }
  }

  std::size_t find_alone(std::string_view target, std::size_t& end) const {
    const auto lower = [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    const auto found =
        std::search(target.begin(), target.end(), alone_.text.begin(), alone_.text.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
    if (found == target.end()) {
      return std::string_view::npos;
    }
    const auto begin = static_cast<std::size_t>(found - target.begin());
    end = begin + alone_.text.size();
    return begin;
  }

  // The nearest place between words, or between characters of languages without blanks.
  static std::size_t snapped(std::string_view text, std::size_t place) {
    const auto fits = [&](std::size_t i) {
      if (i == 0 || i >= text.size()) {
        return true;
      }
      if (is_continuation_byte(text[i])) {
        return false;
      }
      return static_cast<unsigned char>(text[i]) >= 128 ||
             static_cast<unsigned char>(text[i - 1]) >= 128 || text[i] == ' ' || text[i - 1] == ' ';
    };
    for (std::size_t distance = 0; distance <= text.size(); ++distance) {
      if (place >= distance && fits(place - distance)) {
        return place - distance;
      }
      if (fits(place + distance)) {
        return std::min(place + distance, text.size());
      }
    }
    return text.size();
  }

  // The run of units that an element gets inside a range; false if it has none there.
  bool find_range(std::size_t element, const std::pair<std::size_t, std::size_t>& around,
                  std::pair<std::size_t, std::size_t>& range) const {
    std::size_t longest = 0;
    std::size_t begin = 0;  // of the run that is being read
    std::size_t end = 0;
    std::size_t inside = 0;   // bytes of it that are the element's own
    std::size_t outside = 0;  // bytes since its last own unit
    bool open = false;
    bool found = false;
    const auto close = [&] {
      if (open && inside > longest) {
        longest = inside;
        range = {begin, end};
        found = true;
      }
      open = false;
    };
    for (const unit_t& unit : units_) {
      if (unit.begin < around.first || unit.end > around.second || unit.begin == unit.end) {
        continue;
      }
      if (is_within(unit.owner, element)) {
        if (!open) {
          open = true;
          begin = unit.begin;
          inside = 0;
        }
        inside += unit.end - unit.begin;
        end = unit.end;
        outside = 0;
      } else if (unit.owner == segment_.elements[element].parent) {
        // Words around the element may stand between its own, if they are few.
        outside += unit.end - unit.begin;
        if (outside > inside / 2) {
          close();
        }
      } else {
        close();
      }
    }
    close();
    if (!found) {
      return false;
    }
    // Blanks stay outside.
    while (range.first < range.second && text()[range.first] == ' ') {
      ++range.first;
    }
    while (range.second > range.first && text()[range.second - 1] == ' ') {
      --range.second;
    }
    return true;
  }

  LineTranslator& lines_;
  const segment_t& segment_;
  const line_result_t& translated_;
  std::vector<unit_t> units_;
  line_result_t alone_;
};

// Writes the translation with tags, points and escapes.
class SegmentWriter {
 public:
  SegmentWriter(const segment_t& segment, std::string_view text, line_result_t& result)
      : segment_(segment), text_(text), result_(result) {
    begins_.resize(text.size() + 1);
    ends_.resize(text.size() + 1);
  }

  void write_to(std::size_t end) {
    for (; at_ < end; ++at_) {
      begins_[at_] = narrow(result_.text.size());
      write_byte(text_[at_]);
      ends_[at_] = narrow(result_.text.size());
    }
  }
  void write_tag(const std::string& tag) { result_.text += tag; }

  void write_links(const std::vector<align_t>& links) {
    for (const align_t& link : links) {
      align_t moved = link;
      moved.source_first = segment_.first[static_cast<std::size_t>(link.source_first)];
      moved.source_last =
          std::max(moved.source_first, segment_.last[static_cast<std::size_t>(link.source_last)]);
      moved.target_first = begins_[static_cast<std::size_t>(link.target_first)];
      moved.target_last = ends_[static_cast<std::size_t>(link.target_last)] - 1;
      if (moved.target_first <= moved.target_last) {
        result_.links.push_back(moved);
      }
    }
  }

 private:
  // A bare "<" must not become a tag by what now stands behind it.
  bool may_begin_tag() const {
    const char next = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
    return common::text_is_letter(next) || next == '/' || next == '!' || next == '?' ||
           next == kPointOpen;
  }

  void write_byte(char c) {
    if (in_point_) {
      if (c == kPointClose) {
        in_point_ = false;
        if (number_ < segment_.points.size()) {
          result_.text += segment_.points[number_].markup;
        }
      } else {
        number_ = number_ * 10 + static_cast<std::size_t>(c - '0');
      }
      return;
    }
    const escapes_t& escapes = segment_.escapes;
    if (c == kPointOpen && !segment_.points.empty()) {
      in_point_ = true;
      number_ = 0;
    } else if (c == '&' && escapes.is_markup &&
               (!escapes.bare_ampersand || entity_at(text_, at_).length > 0)) {
      result_.text += "&amp;";
    } else if (c == '<' && escapes.is_markup && (!escapes.bare_less || may_begin_tag())) {
      result_.text += "&lt;";
    } else if (c == '>' && escapes.is_markup && !escapes.bare_greater) {
      result_.text += "&gt;";
    } else {
      result_.text += c;
    }
  }

  const segment_t& segment_;
  std::string_view text_;
  line_result_t& result_;
  std::size_t at_ = 0;
  bool in_point_ = false;
  std::size_t number_ = 0;
  std::vector<std::int32_t> begins_;
  std::vector<std::int32_t> ends_;
};

std::vector<forced_span_t> forced_points(const segment_t& segment, std::size_t begin,
                                         std::size_t end) {
  std::vector<forced_span_t> forced;
  for (std::size_t i = 0; i < segment.points.size(); ++i) {
    const std::size_t at = segment.points[i].at;
    if (at >= begin && at < end) {
      forced.push_back({at - begin, at - begin + 1, kPointOpen + std::to_string(i) + kPointClose});
    }
  }
  return forced;
}

// The text between the tags translated by itself.
void translate_in_pieces(LineTranslator& lines, const segment_t& segment, bool with_links,
                         line_result_t& result) {
  // Opening and closing tags in the order of the text.
  struct mark_t {
    std::size_t at;
    std::size_t rank;  // closing tags of inner elements first
    const std::string* tag;
  };
  std::vector<mark_t> marks;
  const std::size_t count = segment.elements.size();
  std::vector<std::size_t> open;  // as a stack, to close in order
  const auto close_until = [&](std::size_t parent) {
    while (!open.empty() && open.back() + 1 != parent) {
      marks.push_back({segment.elements[open.back()].end, 0, &segment.elements[open.back()].close});
      open.pop_back();
    }
  };
  for (std::size_t e = 0; e < count; ++e) {
    close_until(segment.elements[e].parent);
    marks.push_back({segment.elements[e].begin, 0, &segment.elements[e].open});
    open.push_back(e);
  }
  close_until(0);
  std::size_t at = 0;
  std::size_t point = 0;
  line_result_t piece;
  const auto put = [&](std::size_t end) {
    std::size_t first = at;
    std::size_t last = end;
    while (first < last && segment.text[first] == ' ') {
      ++first;
    }
    while (last > first && segment.text[last - 1] == ' ') {
      --last;
    }
    result.text += segment.text.substr(at, first - at);
    if (first < last) {
      segment_t part;
      part.text = segment.text.substr(first, last - first);
      part.first.assign(segment.first.begin() + narrow(first),
                        segment.first.begin() + narrow(last));
      part.last.assign(segment.last.begin() + narrow(first), segment.last.begin() + narrow(last));
      part.escapes = segment.escapes;
      for (; point < segment.points.size() && segment.points[point].at < last; ++point) {
        part.points.push_back(segment.points[point]);
        part.points.back().at -= first;
      }
      translate_segment(lines, part, with_links, piece);
      for (align_t link : piece.links) {
        link.target_first += narrow(result.text.size());
        link.target_last += narrow(result.text.size());
        result.links.push_back(link);
      }
      result.text += piece.text;
    }
    result.text += segment.text.substr(last, end - last);
    at = end;
  };
  for (const mark_t& mark : marks) {
    put(std::max(mark.at, at));
    result.text += *mark.tag;
  }
  put(segment.text.size());
}

}  // namespace

void segment_t::clear() {
  text.clear();
  first.clear();
  last.clear();
  elements.clear();
  points.clear();
  escapes = {};
}

void segment_t::append(std::string_view bytes, std::size_t first_byte, std::size_t last_byte) {
  text += bytes;
  first.resize(text.size(), narrow(first_byte));
  last.resize(text.size(), narrow(last_byte));
}

void translate_segment(LineTranslator& lines, const segment_t& segment, bool with_links,
                       line_result_t& result) {
  result.text.clear();
  result.links.clear();
  if (segment.elements.size() > kMostElements ||
      segment.text.size() / 4 * segment.elements.size() > kMostWork) {
    translate_in_pieces(lines, segment, with_links, result);
    return;
  }
  line_result_t translated;
  const std::vector<forced_span_t> forced = forced_points(segment, 0, segment.text.size());
  lines.translate(segment.text, forced, with_links || !segment.elements.empty(), translated);
  const auto ranges = Placement(lines, segment, translated).run();

  // Elements in order of their place; those of one place as they were, children inside.
  const std::size_t count = segment.elements.size();
  std::vector<std::vector<std::size_t>> children(count + 1);
  for (std::size_t e = 0; e < count; ++e) {
    children[segment.elements[e].parent].push_back(e);
  }
  for (auto& list : children) {
    std::stable_sort(list.begin(), list.end(), [&](std::size_t a, std::size_t b) {
      return std::pair(ranges[a].first, ranges[a].second) <
             std::pair(ranges[b].first, ranges[b].second);
    });
  }
  SegmentWriter writer(segment, translated.text, result);
  struct open_t {
    std::size_t element;  // index + 1; 0 for the whole
    std::size_t next_child = 0;
  };
  std::vector<open_t> stack = {{0}};
  while (!stack.empty()) {
    open_t& top = stack.back();
    if (top.next_child < children[top.element].size()) {
      const std::size_t child = children[top.element][top.next_child++];
      writer.write_to(ranges[child].first);
      writer.write_tag(segment.elements[child].open);
      stack.push_back({child + 1});
      continue;
    }
    if (top.element == 0) {
      writer.write_to(translated.text.size());
    } else {
      writer.write_to(ranges[top.element - 1].second);
      writer.write_tag(segment.elements[top.element - 1].close);
    }
    stack.pop_back();
  }
  if (with_links) {
    writer.write_links(translated.links);
  }
}

}  // namespace koralite::document
