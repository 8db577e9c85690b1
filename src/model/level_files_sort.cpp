// Sorting level files by the level values of their paths.
//
// A comparison of two files compares their values level by level, each with case folding or
// well-number extraction; in the sort's inner loop that would run some million times for
// 100,000 files. Instead each level's distinct values are sorted once and replaced by their
// ranks (values that compare equal share a rank), and the files are sorted by their rows of
// ranks: the same order, with integer comparisons in the inner loop.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "model/level_files_sort.hpp"
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

constexpr std::uint32_t kMissing = 0xFFFFFFFF;

// The values of one level over all files, interned: ids[f] is the index in distinct of file
// f's value (kMissing while the file has none).
class LevelColumn {
public:
    LevelColumn(bool wellNames, std::size_t files) : wellNames_(wellNames), ids_(files, kMissing) {}

    // Records value as file f's value unless the file already has one (the first counts).
    void Set(std::size_t f, std::string_view value) {
        if (ids_[f] != kMissing) return;
        // Files of one well often follow each other: try the value seen last first.
        if (!distinct_.empty() && value == distinct_[lastId_]) {
            ids_[f] = lastId_;
            return;
        }
        auto [it, added] = idOf_.emplace(value, static_cast<std::uint32_t>(distinct_.size()));
        if (added) distinct_.push_back(value);
        ids_[f] = lastId_ = it->second;
    }

    // Writes the rank of every file's value into ranks[f * stride + column]; values that
    // compare equal share a rank, and a missing value ranks as the empty text.
    void Rank(std::size_t stride, std::size_t column, std::vector<std::uint32_t>& ranks) {
        for (std::uint32_t& id : ids_) {
            if (id != kMissing) continue;
            Set(static_cast<std::size_t>(&id - ids_.data()), std::string_view());
        }
        std::vector<std::int64_t> numbers;
        if (wellNames_) {
            numbers.reserve(distinct_.size());
            for (std::string_view v : distinct_) {
                const std::int32_t number = ExtractWellNumInt(v);
                numbers.push_back(number < 0 ? std::int64_t{1} << 40 : number);  // none: last
            }
        }
        // CompareWellNames orders names by their numbers first (numbered names first), so
        // only names with equal numbers (or none) need the full comparison.
        auto compare = [&](std::uint32_t a, std::uint32_t b) {
            if (!wellNames_) return CompareText(distinct_[a], distinct_[b]);
            if (numbers[a] != numbers[b]) return numbers[a] < numbers[b] ? -1 : 1;
            return CompareWellNames(distinct_[a], distinct_[b]);
        };
        std::vector<std::uint32_t> order(distinct_.size());
        for (std::uint32_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::sort(order.begin(), order.end(),
                  [&](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; });
        std::vector<std::uint32_t> rankOfId(distinct_.size());
        std::uint32_t rank = 0;
        for (std::size_t i = 0; i < order.size(); ++i) {
            if (i > 0 && compare(order[i - 1], order[i]) != 0) ++rank;
            rankOfId[order[i]] = rank;
        }
        for (std::size_t f = 0; f < ids_.size(); ++f)
            ranks[f * stride + column] = rankOfId[ids_[f]];
    }

private:
    bool wellNames_;
    std::vector<std::uint32_t> ids_;
    std::unordered_map<std::string_view, std::uint32_t> idOf_;
    std::vector<std::string_view> distinct_;
    std::uint32_t lastId_ = 0;
};

}  // namespace

namespace {

// The order of files by the levels entries(file, emit) names (emit(name, value, position) for
// each of a file's levels): the files' indexes, first to last; files of one place by name
// when byName.
template <class Entries>
std::vector<std::uint32_t> OrderByLevels(const Collection<TLevelFile>& files, Entries entries,
                                         bool byName) {
    const auto n = static_cast<std::size_t>(files.Count());
    std::vector<std::uint32_t> order(n);
    for (std::uint32_t i = 0; i < n; ++i)
        order[i] = i;
    if (n < 2) return order;

    // One pass over the files: each level's values are interned as the files name them.
    LevelKeys levels;
    std::vector<LevelColumn> columns;
    std::size_t f = 0;
    for (const TLevelFile& file : files) {
        entries(file, [&](std::string_view name, std::string_view value, std::size_t position) {
            const auto k = static_cast<std::size_t>(levels.KeyOf(name, position));
            if (k == columns.size()) columns.emplace_back(levels.Keys()[k] == "%well", n);
            columns[k].Set(f, value);
        });
        ++f;
    }
    const std::size_t stride = columns.size();
    if (stride == 0 && !byName) return order;
    std::vector<std::uint32_t> ranks(n * stride);
    for (std::size_t k = 0; k < stride; ++k)
        columns[k].Rank(stride, k, ranks);
    columns.clear();

    std::vector<const std::string*> names;
    if (byName)
        for (const TLevelFile& file : files)
            names.push_back(&file.Name);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const std::uint32_t* ra = &ranks[a * stride];
        const std::uint32_t* rb = &ranks[b * stride];
        for (std::size_t k = 0; k < stride; ++k)
            if (ra[k] != rb[k]) return ra[k] < rb[k];
        return byName && *names[a] < *names[b];
    });
    return order;
}

}  // namespace

void TLevelFilesList::SmartSort() {
    const std::vector<std::uint32_t> order = OrderByLevels(
        Files,
        [](const TLevelFile& file, auto emit) {
            const std::vector<std::string>& lines = file.PathNames.Lines();
            for (std::size_t j = 0; j < lines.size(); ++j) {
                const Entry e = SplitPair(lines[j]);
                emit(e.name, e.value, j);
            }
        },
        false);
    // Take the files out from the end (cheap), then put them back in sorted order.
    const std::size_t n = order.size();
    std::vector<std::unique_ptr<TLevelFile>> taken;
    taken.reserve(n);
    for (int i = Files.Count() - 1; i >= 0; --i)
        taken.push_back(Files.Extract(i));
    for (std::uint32_t i : order)
        Files.Add(std::move(taken[n - 1 - i]));
}

namespace detail {

std::vector<std::uint32_t> SmartSortOrder(const TLevelFilesList& list,
                                          const std::vector<std::string>& types) {
    return OrderByLevels(
        list.Files,
        [&](const TLevelFile& file, auto emit) {
            if (!file.PathNames.Empty()) {
                const std::vector<std::string>& lines = file.PathNames.Lines();
                for (std::size_t j = 0; j < lines.size(); ++j) {
                    const Entry e = SplitPair(lines[j]);
                    emit(e.name, e.value, j);
                }
            } else if (file.PathValues.Count() == static_cast<int>(types.size())) {
                const std::vector<std::string>& values = file.PathValues.Lines();
                for (std::size_t j = 0; j < values.size(); ++j)
                    emit(types[j], values[j], j);
            }
        },
        true);
}

}  // namespace detail

}  // namespace ostradb
