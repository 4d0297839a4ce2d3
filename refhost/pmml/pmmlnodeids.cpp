// Numeric ids are kept as (number, document index) pairs and sorted once at
// the end, so that checking them costs no map per node; text ids, rare in
// practice, go into a map as they arrive.
#include "refhost/pmml/pmmlnodeids.h"

#include <algorithm>
#include <charconv>
#include <climits>

namespace refhost::pmml {

std::string NodeIds::Key(std::string const& id) {
  bool digits = !id.empty();
  for (char c : id) digits = digits && c >= '0' && c <= '9';
  if (!digits) return "t" + id;
  std::size_t const first = id.find_first_not_of('0');
  return "n" + (first == std::string::npos ? std::string("0") : id.substr(first));
}

std::uint32_t NodeIds::Note(std::uint32_t doc, std::string const& id) {
  bool digits = !id.empty() && id.size() <= 19;
  for (char c : id) digits = digits && c >= '0' && c <= '9';
  if (!digits) {
    fnAllNumbers = false;
    return fnTexts.emplace(Key(id), doc).first->second;
  }
  unsigned long long n = 0;
  std::from_chars(id.data(), id.data() + id.size(), n);  // at most 19 digits: no overflow
  fnNumeric.emplace_back(n, doc);
  if (n > 0xFFFFFFFFull) fnAllNumbers = false;
  fnMaxId = std::max<unsigned long long>(fnMaxId, n);
  return doc;
}

std::optional<std::pair<std::uint32_t, std::uint32_t>> NodeIds::NumericClash() {
  std::sort(fnNumeric.begin(), fnNumeric.end());
  std::uint32_t clash = UINT32_MAX;
  std::uint32_t with = 0;
  for (std::size_t i = 1; i < fnNumeric.size(); ++i) {
    if (fnNumeric[i].first == fnNumeric[i - 1].first && fnNumeric[i].second < clash) {
      clash = fnNumeric[i].second;  // the first clash in document order
      with = fnNumeric[i - 1].second;
    }
  }
  if (clash == UINT32_MAX) return std::nullopt;
  return std::make_pair(clash, with);
}

std::vector<unsigned int> NodeIds::Settle(std::vector<PmmlModel::NodeInfo> const& nodes,
                                          bool& inOrder) const {
  inOrder = !fnAllNumbers;
  std::vector<unsigned int> ids(nodes.size());
  unsigned long long next = 0;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].role != PmmlModel::NodeInfo::kDocument) continue;
    unsigned long long id = 0;
    if (!inOrder) {
      std::string const& text = nodes[i].documentId;
      std::from_chars(text.data(), text.data() + text.size(), id);
    }
    ids[i] = static_cast<unsigned int>(inOrder ? next++ : id);
  }
  if (!inOrder) next = fnMaxId + 1;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (nodes[i].role == PmmlModel::NodeInfo::kDocument) continue;
    if (next > 0xFFFFFFFFull) {
      throw PmmlError("the tree's node ids leave no room for the nodes the loader adds", 0);
    }
    ids[i] = static_cast<unsigned int>(next++);
  }
  return ids;
}

}  // namespace refhost::pmml
