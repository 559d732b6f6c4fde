#include "document/segment_builder.h"

#include <algorithm>
#include <utility>

namespace koralite::document {

void SegmentBuilder::add_point(std::size_t begin, std::size_t end, std::string markup,
                               segment_t& segment) {
  segment.points.push_back({segment.text.size(), std::move(markup)});
  segment.append(std::string_view(&kPointByte, 1), begin, end - 1);
}

void SegmentBuilder::pair_tags(std::size_t first, std::size_t last) {
  roles_.assign(items_.size(), Role::kNone);
  partners_.assign(items_.size(), 0);
  parents_.assign(items_.size(), 0);
  std::vector<std::size_t> open;
  std::unordered_map<std::string_view, std::size_t> count;
  for (std::size_t i = first; i < last; ++i) {
    const item_t& item = items_[i];
    if (item.kind == Kind::kOpen) {
      parents_[i] = open.empty() ? 0 : open.back() + 1;
      open.push_back(i);
      ++count[item.name];
    } else if (item.kind == Kind::kClose) {
      if (count[item.name] == 0) {
        roles_[i] = open.empty() ? Role::kFromStart : Role::kPoint;
        continue;
      }
      // What was opened inside and not closed can't be an element.
      while (items_[open.back()].name != item.name) {
        --count[items_[open.back()].name];
        roles_[open.back()] = Role::kPoint;
        open.pop_back();
      }
      --count[item.name];
      roles_[i] = roles_[open.back()] = Role::kPaired;
      partners_[i] = open.back();
      partners_[open.back()] = i;
      open.pop_back();
    }
  }
  for (const std::size_t i : open) {
    roles_[i] = Role::kToEnd;
  }
}

void SegmentBuilder::strip(std::size_t& first, std::size_t& last, std::string& before,
                           std::string& after) {
  std::vector<std::string> behind;  // from the end
  for (;;) {
    if (first == last) {
      break;
    }
    const auto is_outside = [&](std::size_t i) {
      const item_t& item = items_[i];
      if (item.kind == Kind::kText) {
        const std::string_view text = bytes(item);
        return std::all_of(text.begin(), text.end(), is_blank);
      }
      return item.kind == Kind::kPoint ? !item.is_word : roles_[i] != Role::kPaired;
    };
    const auto written = [&](std::size_t i) {
      return items_[i].kind == Kind::kText ? std::string(bytes(items_[i])) : items_[i].markup;
    };
    if (is_outside(first)) {
      before += written(first++);
    } else if (is_outside(last - 1)) {
      behind.push_back(written(--last));
    } else if (items_[first].kind == Kind::kOpen && partners_[first] == last - 1) {
      before += written(first++);
      behind.push_back(written(--last));
    } else {
      break;
    }
  }
  // Blanks at both ends.
  if (first < last && items_[first].kind == Kind::kText) {
    item_t& item = items_[first];
    while (item.begin < item.end && is_blank(document_[item.begin])) {
      before += document_[item.begin++];
    }
  }
  if (first < last && items_[last - 1].kind == Kind::kText) {
    item_t& item = items_[last - 1];
    const std::size_t end = item.end;
    while (item.end > item.begin && is_blank(document_[item.end - 1])) {
      --item.end;
    }
    behind.emplace_back(document_.substr(item.end, end - item.end));
  }
  for (std::size_t i = behind.size(); i-- > 0;) {
    after += behind[i];
  }
}

void SegmentBuilder::add_elements(std::size_t first, std::size_t last,
                                  const std::vector<std::size_t>& place, segment_t& segment) const {
  // Closing tags of elements that begin outside, the outermost first.
  std::vector<std::size_t> from_start;
  for (std::size_t i = first; i < last; ++i) {
    if (roles_[i] == Role::kFromStart) {
      from_start.push_back(i);
    }
  }
  for (std::size_t k = from_start.size(); k-- > 0;) {
    segment.elements.push_back(
        {0, place[from_start[k]], {}, items_[from_start[k]].markup, segment.elements.size()});
  }
  std::vector<std::size_t> element_of(items_.size(), 0);  // + 1
  std::size_t inner = 0;  // of from_start: those before it are closed
  for (std::size_t i = first; i < last; ++i) {
    if (inner < from_start.size() && from_start[inner] == i) {
      ++inner;
    }
    if (items_[i].kind != Kind::kOpen || roles_[i] == Role::kPoint) {
      continue;
    }
    element_t element;
    element.begin = place[i];
    element.open = items_[i].markup;
    if (roles_[i] == Role::kPaired) {
      element.end = place[partners_[i]];
      element.close = items_[partners_[i]].markup;
    } else {
      element.end = segment.text.size();
    }
    std::size_t parent = parents_[i];
    while (parent > 0 && roles_[parent - 1] == Role::kPoint) {
      parent = parents_[parent - 1];
    }
    element.parent = parent > 0 ? element_of[parent - 1] : from_start.size() - inner;
    segment.elements.push_back(std::move(element));
    element_of[i] = segment.elements.size();
  }
}

}  // namespace koralite::document
