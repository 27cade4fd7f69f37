#pragma once

#include <utility>

namespace pdf417 {

// Sorts [first, last) by `before`, keeping equal elements in their order,
// with no buffer of its own (std::stable_sort may allocate one): for the
// dozen or so candidates a frame yields, on paths that must not allocate.
template <typename Iterator, typename Before>
void insertionSort(Iterator first, Iterator last, Before before) {
    if (first == last) {
        return;
    }
    for (Iterator i = first + 1; i != last; ++i) {
        for (Iterator j = i; j != first && before(*j, *(j - 1)); --j) {
            std::swap(*j, *(j - 1));
        }
    }
}

} // namespace pdf417
