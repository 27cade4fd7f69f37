#include "pdf417scan/ecc/G929Value.h"

#include <type_traits>

namespace pdf417 {

// Codeword vectors store elements densely; keep the element two bytes wide.
static_assert(sizeof(G929Value) == 2, "G929Value must stay two bytes wide");
static_assert(std::is_trivially_copyable<G929Value>::value, "G929Value is a plain value");

// Anchor points of the tables, checked when the library is built.
static_assert(G929Value(1).log3().value() == 0, "log3(1)");
static_assert(G929Value(3).log3().value() == 1, "log3(3)");
static_assert(G929Value(928).log3().value() == 464, "log3(-1)");
static_assert((G929Value(3) * G929Value(310)).value() == 1, "3^927 is the inverse of 3");
static_assert((G929Value(5) / G929Value(5)).value() == 1, "equal logarithms");
static_assert(G929Value(3).pow(928).value() == 1, "3 has order 928");

} // namespace pdf417
