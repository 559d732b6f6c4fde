#include "common/text_abbrev.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "common/text_class.h"

namespace koralite::common {
namespace {

// In byte order, for the binary search.
constexpr auto kAbbrev = std::to_array<std::string_view>({
    "ab.",    "abbr.",   "abt.",  "ac.",     "acc.",   "acct.",   "ad.",    "adjt.",  "adm.",
    "ads.",   "adv.",    "af.",   "aft.",    "agcy.",  "ala.",    "alt.",   "amg.",   "anon.",
    "ans.",   "approx.", "apr.",  "apt.",    "ar.",    "ariz.",   "arr.",   "ass.",   "assn.",
    "assoc.", "asst.",   "att.",  "aug.",    "ave.",   "avg.",    "bd.",    "bhd.",   "bk.",
    "bl.",    "bldg.",   "bros.", "bsk.",    "bst.",   "bt.",     "btw.",   "ca.",    "calc.",
    "calif.", "cambs.",  "capt.", "cert.",   "cf.",    "ch.",     "chap.",  "cir.",   "cit.",
    "cl.",    "cmdr.",   "co.",   "coe.",    "col.",   "colloq.", "colo.",  "comdr.", "comm.",
    "conf.",  "cong.",   "conn.", "cont.",   "conv.",  "cor.",    "corp.",  "corr.",  "cot.",
    "cp.",    "cpl.",    "cr.",   "cy.",     "cyl.",   "dd.",     "de.",    "dec.",   "deg.",
    "dep.",   "dept.",   "desc.", "det.",    "dev.",   "diag.",   "dict.",  "diff.",  "dist.",
    "distr.", "div.",    "dr.",   "drs.",    "dy.",    "ed.",     "eds.",   "eg.",    "elec.",
    "em.",    "emer.",   "enc.",  "encl.",   "eng.",   "eq.",     "equip.", "equiv.", "esler.",
    "esp.",   "esq.",    "et.",   "etc.",    "ex.",    "exc.",    "excl.",  "exp.",   "expt.",
    "ext.",   "feb.",    "fig.",  "fl.",     "fla.",   "fr.",     "freq.",  "ft.",    "ga.",
    "gal.",   "gen.",    "gm.",   "gmbh.",   "gmt.",   "gov.",    "govt.",  "gr.",    "hm.",
    "hmm.",   "hmmm.",   "hy.",   "ib.",     "id.",    "ie.",     "iii.",   "imo.",   "imp.",
    "inc.",   "incl.",   "ind.",  "inf.",    "inst.",  "int.",    "intl.",  "inv.",   "iv.",
    "ix.",    "jan.",    "jr.",   "jul.",    "jun.",   "kr.",     "ky.",    "lab.",   "lang.",
    "lat.",   "lb.",     "lbs.",  "legis.",  "lieut.", "lin.",    "liq.",   "llc.",   "lllp.",
    "lol.",   "lt.",     "ltd.",  "ltr.",    "mag.",   "maj.",    "mal.",   "manuf.", "mar.",
    "max.",   "md.",     "mdse.", "messrs.", "mfg.",   "mich.",   "mid.",   "min.",   "minn.",
    "mk.",    "ml.",     "mlle.", "mme.",    "mmes.",  "mo.",     "mol.",   "mr.",    "mrs.",
    "ms.",    "msgr.",   "mt.",   "mts.",    "neb.",   "nev.",    "no.",    "nos.",   "nov.",
    "nr.",    "num.",    "obv.",  "oct.",    "okla.",  "op.",     "opp.",   "ore.",   "ox.",
    "oz.",    "pa.",     "pal.",  "pc.",     "pcs.",   "pct.",    "pfc.",   "pg.",    "ph.",
    "pl.",    "pos.",    "pp.",   "pr.",     "pref.",  "prem.",   "prep.",  "pres.",  "priv.",
    "prod.",  "prof.",   "pron.", "prox.",   "ps.",    "pte.",    "pvt.",   "ql.",    "qu.",
    "rd.",    "rec.",    "ref.",  "regd.",   "rem.",   "rep.",    "reqd.",  "res.",   "ret.",
    "rico.",  "rom.",    "rot.",  "rp.",     "rs.",    "rt.",     "ry.",    "sam.",   "sat.",
    "sc.",    "sdn.",    "sen.",  "sens.",   "sep.",   "sept.",   "sergt.", "sgt.",   "sh.",
    "sl.",    "soln.",   "sp.",   "spc.",    "spec.",  "spp.",    "sq.",    "sr.",    "st.",
    "stat.",  "std.",    "sth.",  "stk.",    "str.",   "sub.",    "subst.", "supp.",  "syr.",
    "tech.",  "tel.",    "tenn.", "tex.",    "tl.",    "tn.",     "tonn.",  "tr.",    "ts.",
    "tu.",    "tues.",   "tx.",   "univ.",   "usa.",   "va.",     "val.",   "var.",   "vi.",
    "vol.",   "vs.",     "vt.",   "wks.",    "wt.",    "www.",    "wyo.",   "yd.",    "yr.",
    "yrs.",
});
static_assert(std::is_sorted(kAbbrev.begin(), kAbbrev.end()));
static_assert(kAbbrev.size() == 316);

}  // namespace

std::string_view text_prefix_at(std::string_view text, std::size_t pos) {
  if (pos >= text.size()) {
    return {};
  }
  std::size_t first = pos;
  while (first > 0 && text_is_word_byte(text[first - 1])) {
    --first;
  }
  return text.substr(first, pos + 1 - first);
}

std::string_view text_suffix_at(std::string_view text, std::size_t pos) {
  if (pos >= text.size()) {
    return {};
  }
  std::size_t end = pos + 1;
  while (end < text.size() && text_is_word_byte(text[end])) {
    ++end;
  }
  return text.substr(pos, end - pos);
}

void text_get_prefix(const std::string& text, unsigned pos, std::string& out) {
  out = std::string(text_prefix_at(text, pos));
}

void text_get_suffix(const std::string& text, unsigned pos, std::string& out) {
  out = std::string(text_suffix_at(text, pos));
}

bool text_is_abbrev_eng(std::string_view token) {
  const std::size_t size = token.size();
  if (size == 0) {
    return false;
  }
  if (size == 2 && text_is_letter(token[0]) && token[1] == '.') {
    return true;
  }
  if (size > 3 && token[size - 1] == '.' && text_is_letter(token[size - 2]) &&
      token[size - 3] == '.' && text_is_letter(token[size - 4])) {
    return true;
  }
  return std::binary_search(kAbbrev.begin(), kAbbrev.end(), token);
}

bool text_is_abbrev_eng(const char* token) {
  return token != nullptr && text_is_abbrev_eng(std::string_view(token));
}

}  // namespace koralite::common
