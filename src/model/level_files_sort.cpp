// Sorting level files by the level values of their paths.
//
// Comparing two files compares their values level by level (well names number-first, other
// values ignoring case); done in the sort's comparison that costs several text comparisons,
// each with case folding, per step. Instead every level's distinct values are sorted once and
// replaced by their rank (values that compare equal share a rank), and the files are sorted by
// their rows of ranks: the same order, with integer comparisons in the sort.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ostradb/model/level_files.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/well_names.hpp"

namespace ostradb {

namespace {

struct Entry {
    std::string_view name;
    std::string_view value;
};

// The name and value of a name=value line; a line without "=" has an empty name and value.
Entry SplitPair(std::string_view line) {
    const std::size_t eq = line.find('=');
    if (eq == std::string_view::npos) return {};
    return {line.substr(0, eq), line.substr(eq + 1)};
}

// Maps the level names as they stand in the files to the lower-cased level keys, in order of
// first appearance. Files usually list their levels in the same order, so the name seen last
// at the same position is tried before the hash table.
class LevelKeys {
public:
    int KeyOf(std::string_view rawName, std::size_t position) {
        if (position < recent_.size() && recent_[position].first.data() != nullptr &&
            recent_[position].first == rawName)
            return recent_[position].second;
        int key;
        if (auto it = byRawName_.find(rawName); it != byRawName_.end()) {
            key = it->second;
        } else {
            const std::string lower = LowerCase(rawName);
            auto k = std::find(keys_.begin(), keys_.end(), lower);
            key = static_cast<int>(k - keys_.begin());
            if (k == keys_.end()) keys_.push_back(lower);
            byRawName_.emplace(rawName, key);
        }
        if (position >= recent_.size()) recent_.resize(position + 1);
        recent_[position] = {rawName, key};
        return key;
    }
    const std::vector<std::string>& Keys() const { return keys_; }

private:
    std::vector<std::string> keys_;
    std::unordered_map<std::string_view, int> byRawName_;
    std::vector<std::pair<std::string_view, int>> recent_;
};

// Ranks of values under a comparison: equal values (by the comparison) share a rank.
template <class Compare>
void RankValues(const std::vector<std::string_view>& values, std::size_t stride, std::size_t column,
                Compare compare, std::vector<std::uint32_t>& ranks) {
    const std::size_t n = values.size() / stride;
    std::unordered_map<std::string_view, std::uint32_t> idOf;
    std::vector<std::string_view> distinct;
    std::vector<std::uint32_t> ids(n);
    std::string_view previous;
    std::uint32_t previousId = 0;
    for (std::size_t f = 0; f < n; ++f) {
        const std::string_view v = values[f * stride + column];
        if (f > 0 && v == previous) {
            ids[f] = previousId;
            continue;
        }
        auto [it, added] = idOf.emplace(v, static_cast<std::uint32_t>(distinct.size()));
        if (added) distinct.push_back(v);
        ids[f] = previousId = it->second;
        previous = v;
    }
    std::vector<std::uint32_t> order(distinct.size());
    for (std::uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return compare(distinct[a], distinct[b]) < 0;
    });
    std::vector<std::uint32_t> rankOfId(distinct.size());
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && compare(distinct[order[i - 1]], distinct[order[i]]) != 0) ++rank;
        rankOfId[order[i]] = rank;
    }
    for (std::size_t f = 0; f < n; ++f)
        ranks[f * stride + column] = rankOfId[ids[f]];
}

}  // namespace

void TLevelFilesList::SmartSort() {
    const int count = Files.Count();
    if (count < 2) return;
    const auto n = static_cast<std::size_t>(count);

    LevelKeys levels;
    for (const TLevelFile& f : Files)
        for (std::size_t j = 0; j < f.PathNames.Lines().size(); ++j)
            levels.KeyOf(SplitPair(f.PathNames.Lines()[j]).name, j);
    const std::size_t stride = levels.Keys().size();
    if (stride == 0) return;

    // values[f * stride + k]: file f's value for level k (its first entry of that name).
    std::vector<std::string_view> values(n * stride);
    std::vector<bool> seen(stride);
    std::size_t f = 0;
    for (const TLevelFile& file : Files) {
        std::fill(seen.begin(), seen.end(), false);
        for (std::size_t j = 0; j < file.PathNames.Lines().size(); ++j) {
            const Entry e = SplitPair(file.PathNames.Lines()[j]);
            const auto k = static_cast<std::size_t>(levels.KeyOf(e.name, j));
            if (seen[k]) continue;
            seen[k] = true;
            values[f * stride + k] = e.value;
        }
        ++f;
    }

    std::vector<std::uint32_t> ranks(n * stride);
    for (std::size_t k = 0; k < stride; ++k) {
        if (levels.Keys()[k] == "%well")
            RankValues(values, stride, k, CompareWellNames, ranks);
        else
            RankValues(values, stride, k, CompareText, ranks);
    }
    values.clear();
    values.shrink_to_fit();

    std::vector<std::uint32_t> order(n);
    for (std::uint32_t i = 0; i < n; ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const std::uint32_t* ra = &ranks[a * stride];
        const std::uint32_t* rb = &ranks[b * stride];
        for (std::size_t k = 0; k < stride; ++k)
            if (ra[k] != rb[k]) return ra[k] < rb[k];
        return false;
    });

    // Take the files out from the end (cheap), then put them back in sorted order.
    std::vector<std::unique_ptr<TLevelFile>> taken;
    taken.reserve(n);
    for (int i = count - 1; i >= 0; --i)
        taken.push_back(Files.Extract(i));
    for (std::uint32_t i : order)
        Files.Add(std::move(taken[n - 1 - i]));
}

}  // namespace ostradb
