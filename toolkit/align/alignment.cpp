#include "toolkit/align/alignment.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include "toolkit/io/parallel.h"

namespace koralite::toolkit {
namespace {

// The links of one sentence pair while they are being chosen.
class Grid {
 public:
  Grid(std::size_t sources, std::size_t targets)
      : targets_(targets), on_(sources * targets), source_used_(sources), target_used_(targets) {}

  bool has(std::size_t s, std::size_t t) const { return on_[s * targets_ + t]; }
  bool source_used(std::size_t s) const { return source_used_[s]; }
  bool target_used(std::size_t t) const { return target_used_[t]; }
  void set(std::size_t s, std::size_t t) {
    on_[s * targets_ + t] = true;
    source_used_[s] = target_used_[t] = true;
  }
  std::size_t sources() const { return source_used_.size(); }
  std::size_t targets() const { return targets_; }

 private:
  std::size_t targets_;
  std::vector<bool> on_;
  std::vector<bool> source_used_;
  std::vector<bool> target_used_;
};

// Adds links of the union next to chosen ones while they join a word that has
// no link yet, until nothing changes.
void grow_diag(Grid& chosen, const Grid& both) {
  constexpr std::array<std::pair<int, int>, 8> kNeighbours{
      {{-1, 0}, {0, -1}, {1, 0}, {0, 1}, {-1, -1}, {-1, 1}, {1, -1}, {1, 1}}};
  const int sources = static_cast<int>(chosen.sources());
  const int targets = static_cast<int>(chosen.targets());
  for (bool added = true; added;) {
    added = false;
    for (int s = 0; s < sources; ++s) {
      for (int t = 0; t < targets; ++t) {
        if (!chosen.has(static_cast<std::size_t>(s), static_cast<std::size_t>(t))) {
          continue;
        }
        for (const auto& [ds, dt] : kNeighbours) {
          const int s2 = s + ds;
          const int t2 = t + dt;
          if (s2 < 0 || s2 >= sources || t2 < 0 || t2 >= targets) {
            continue;
          }
          const auto ns = static_cast<std::size_t>(s2);
          const auto nt = static_cast<std::size_t>(t2);
          if ((!chosen.source_used(ns) || !chosen.target_used(nt)) && both.has(ns, nt)) {
            chosen.set(ns, nt);
            added = true;
          }
        }
      }
    }
  }
}

// Adds the links of one direction whose two words are both still free.
void final_and(Grid& chosen, std::span<const std::int16_t> forward,
               std::span<const std::int16_t> backward) {
  for (std::size_t t = 0; t < forward.size(); ++t) {
    if (forward[t] < 0) {
      continue;
    }
    const auto s = static_cast<std::size_t>(forward[t]);
    if (!chosen.source_used(s) && !chosen.target_used(t)) {
      chosen.set(s, t);
    }
  }
  for (std::size_t s = 0; s < backward.size(); ++s) {
    if (backward[s] < 0) {
      continue;
    }
    const auto t = static_cast<std::size_t>(backward[s]);
    if (!chosen.source_used(s) && !chosen.target_used(t)) {
      chosen.set(s, t);
    }
  }
}

}  // namespace

void Alignment::add(std::span<const Link> links) {
  links_.insert(links_.end(), links.begin(), links.end());
  starts_.push_back(links_.size());
}

std::vector<Link> symmetrize(std::span<const std::int16_t> forward,
                             std::span<const std::int16_t> backward, Symmetrization method) {
  Grid both(backward.size(), forward.size());
  Grid chosen(backward.size(), forward.size());
  for (std::size_t t = 0; t < forward.size(); ++t) {
    if (forward[t] < 0) {
      continue;
    }
    const auto s = static_cast<std::size_t>(forward[t]);
    both.set(s, t);
    if (backward[s] == static_cast<std::int16_t>(t)) {
      chosen.set(s, t);
    }
  }
  for (std::size_t s = 0; s < backward.size(); ++s) {
    if (backward[s] >= 0) {
      both.set(s, static_cast<std::size_t>(backward[s]));
    }
  }
  if (method == Symmetrization::kGrowDiag || method == Symmetrization::kGrowDiagFinalAnd) {
    grow_diag(chosen, both);
  }
  if (method == Symmetrization::kGrowDiagFinalAnd) {
    final_and(chosen, forward, backward);
  }

  const Grid& result = method == Symmetrization::kUnion ? both : chosen;
  std::vector<Link> links;
  for (std::size_t s = 0; s < backward.size(); ++s) {
    for (std::size_t t = 0; t < forward.size(); ++t) {
      if (result.has(s, t)) {
        links.push_back({static_cast<std::uint16_t>(s), static_cast<std::uint16_t>(t)});
      }
    }
  }
  return links;
}

Alignment symmetrize(const Bitext& bitext, const DirectedAlignment& forward,
                     const DirectedAlignment& backward, Symmetrization method, unsigned threads) {
  std::vector<std::vector<Link>> all(bitext.size());
  parallel_blocks(bitext.size(), 1024, threads, [&](std::size_t begin, std::size_t end, unsigned) {
    for (std::size_t pair = begin; pair < end; ++pair) {
      all[pair] = symmetrize(
          std::span(forward.from).subspan(bitext.target.start(pair), bitext.target.length(pair)),
          std::span(backward.from).subspan(bitext.source.start(pair), bitext.source.length(pair)),
          method);
    }
  });
  Alignment alignment;
  for (const std::vector<Link>& links : all) {
    alignment.add(links);
  }
  return alignment;
}

std::string to_text(std::span<const Link> links) {
  std::string text;
  for (const Link& link : links) {
    if (!text.empty()) {
      text += ' ';
    }
    text += std::to_string(link.source) + '-' + std::to_string(link.target);
  }
  return text;
}

std::vector<Link> parse_links(std::string_view text) {
  std::vector<Link> links;
  for (const std::string_view item : split_blanks(text)) {
    Link link;
    const char* const end = item.data() + item.size();
    const auto source = std::from_chars(item.data(), end, link.source);
    if (source.ec != std::errc{} || source.ptr == end || *source.ptr != '-') {
      throw std::runtime_error("not an alignment link: " + std::string(item));
    }
    const auto target = std::from_chars(source.ptr + 1, end, link.target);
    if (target.ec != std::errc{} || target.ptr != end) {
      throw std::runtime_error("not an alignment link: " + std::string(item));
    }
    links.push_back(link);
  }
  return links;
}

}  // namespace koralite::toolkit
