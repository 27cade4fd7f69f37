// Against std::stable_sort on many random runs with many ties: the same
// order, equal elements kept as they came.
#include "pdf417scan/util/InsertionSort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace pdf417 {
namespace {

TEST(InsertionSort, MatchesStableSort) {
    std::mt19937 rng(9);
    using Item = std::pair<int, int>; // key, original position
    const auto before = [](const Item& x, const Item& y) { return x.first > y.first; };
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<Item> items(rng() % 40);
        for (std::size_t i = 0; i < items.size(); ++i) {
            items[i] = {static_cast<int>(rng() % 6), static_cast<int>(i)};
        }
        std::vector<Item> expected = items;
        std::stable_sort(expected.begin(), expected.end(), before);
        insertionSort(items.begin(), items.end(), before);
        ASSERT_EQ(items, expected) << trial;
    }
}

} // namespace
} // namespace pdf417
