#pragma once

#include <cstdint>

namespace pdf417 {

// One PDF417 codeword in 16 bits: the value (0-928) in bits 0-13 and the
// cluster index in bits 14-15. The value 999 marks "no codeword".
class CodeWord {
public:
    // Cluster index of a codeword; symbol row r uses index r mod 3. The fixed
    // underlying type lets callers pass any byte, which set() then ignores.
    enum ECluster : std::uint8_t { Cluster0 = 0, Cluster3 = 1, Cluster6 = 2 };

    static constexpr std::uint16_t INVALID = 999;

    CodeWord() = default;
    CodeWord(unsigned short value, ECluster cluster) { set(value, cluster); }

    // Values of 929 and above become the invalid codeword; a cluster outside
    // 0-2 leaves the word as it was.
    void set(unsigned short value, ECluster cluster);
    void reset() { word_ = INVALID; }

    bool isValid() const { return code() != INVALID; }
    unsigned short code() const { return static_cast<unsigned short>(word_ & 0x3FFFu); }
    ECluster cluster() const;
    // The symbol row of a row-indicator codeword: its value is 30 × (row / 3)
    // plus something below 30, and its cluster is row mod 3.
    unsigned long extractRowNumber() const;

    bool operator==(const CodeWord& other) const { return word_ == other.word_; }
    bool operator!=(const CodeWord& other) const { return word_ != other.word_; }

private:
    std::uint16_t word_ = INVALID;
};

// A codeword with a confidence between 0.0 and 1.0.
struct CodeWordInfo {
    CodeWordInfo() = default;
    CodeWordInfo(CodeWord word, float confidence) : codeWord(word), score(confidence) {}

    CodeWord codeWord;
    float score = 0.0f;
};

// One candidate of a vote table cell: the codeword and how often it was read.
struct ScoredCodeWord {
    void reset() {
        votes = 0;
        codeWord.reset();
    }

    std::uint16_t votes = 0;
    CodeWord codeWord;
};

} // namespace pdf417
