// A program built against the installed package: the reading API, the
// reader and a Reed-Solomon round trip, all through installed headers.
#include "pdf417scan/api/Read.h"
#include "pdf417scan/ecc/G929Value.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/reader/PDF417Reader.h"

#include <cstdio>
#include <memory>
#include <vector>

int main() {
    std::vector<unsigned char> paper(160 * 120, 200);
    const pdf417::ReadResult blank =
        pdf417::read(pdf417::ImageView(paper.data(), paper.size(), 160, 120));
    const pdf417::ReadResult null = pdf417::read(pdf417::ImageView(nullptr, 0, 160, 120));

    auto reader = std::make_unique<pdf417::PDF417Reader>();
    pdf417::Image image(paper.data(), 160, 120);
    std::vector<unsigned char> bytes;
    const int result = reader->decode(image, bytes);

    // Level 2: eight check codewords correct two errors.
    std::vector<pdf417::G929Value> data;
    for (const unsigned short value : {5, 453, 178, 121, 239}) {
        data.push_back(pdf417::G929Value(value));
    }
    std::vector<pdf417::G929Value> word;
    pdf417::RS929Encoder::encode(data, word, 2);
    const std::vector<pdf417::G929Value> sent = word;
    word[1] = pdf417::G929Value(7);
    word[9] = pdf417::G929Value(800);
    std::vector<unsigned long> erasures;
    pdf417::RS929Decoder decoder;
    const bool corrected = decoder.decode(word, erasures, 2);
    bool same = word.size() == sent.size();
    for (std::size_t i = 0; same && i < word.size(); ++i) {
        same = word[i].value() == sent[i].value();
    }

    if (blank.status != pdf417::ReadStatus::NothingFound ||
        null.status != pdf417::ReadStatus::NullBuffer || result != pdf417::PDF417Reader::NoSymbol ||
        !corrected || !same) {
        std::printf("unexpected results\n");
        return 1;
    }
    std::printf("consumer: %s, %zu codewords corrected\n", pdf417::describe(blank.status),
                erasures.size());
    return 0;
}
