#pragma once

#include "pdf417scan/imaging/NiblackBinarizator.h"
#include "pdf417scan/sampling/CodeWord.h"

#include <vector>

namespace pdf417 {

// Reads the grey values sampled across one codeword (17 modules) as a
// codeword of cluster 0, 3 or 6. Keeps its binarised line and run lengths as
// members, so a recogniser reused codeword after codeword stops allocating
// once they have grown. One object serves one thread at a time.
class CodeWordRecognizer {
public:
    // samples: the stretch left to right, about 17 modules' worth. Tries a
    // series of binarisation thresholds until one yields a codeword; the
    // invalid codeword when none does or the stretch is flat.
    CodeWord recognize(const std::vector<unsigned char>& samples);

    // runs: the eight run lengths of one codeword (bar first, signs as
    // RowUtils::squeeze makes them); width: the stretch's length in samples,
    // which sets the module size. The invalid codeword unless the distances
    // round to a pattern of the cluster they imply.
    CodeWord decode(const std::vector<short>& runs, unsigned long width) const;

private:
    NiblackBinarizator binarizator_;
    std::vector<unsigned char> binary_;
    std::vector<short> runs_;
};

} // namespace pdf417
