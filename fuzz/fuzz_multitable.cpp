// MultiTable under arbitrary sequences of geometry changes, clears, votes,
// reads and extractions, checked against a plain model of the votes: every
// cell keeps its candidates in the order they came, and as long as it holds
// at most eight and none has saturated, its best is the first with the most
// votes.
//
// Each operation is one byte (bits 0-2 the operation, bit 7 wide arguments:
// 64 bits instead of a small byte) followed by its arguments.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/sampling/MultiTable.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

using pdf417::CodeWordInfo;
using pdf417::MultiTable;
using pdf417::fuzz::check;

namespace {

constexpr unsigned kMaxOperations = 2000;
constexpr unsigned kSaturation = 70000;

struct ModelCell {
    // (16-bit codeword with its cluster, votes) in the order of first vote.
    std::vector<std::pair<std::uint16_t, std::uint32_t>> candidates;
    bool exact = true; // false once eviction or saturation may have happened

    void reset() {
        candidates.clear();
        exact = true;
    }
};

class Model {
public:
    void clear() {
        if (width_ < 2 || height_ == 0) {
            return;
        }
        for (std::uint64_t i = 0; i < height_ * (width_ - 2); ++i) {
            cells_[i].reset();
        }
    }
    void clear(std::uint64_t width, std::uint64_t height) {
        width_ = width;
        height_ = height;
        clear();
    }
    bool inside(std::uint64_t column, std::uint64_t row) const {
        return column >= 1 && column < width_ && column + 1 < width_ && row < height_;
    }
    ModelCell& cell(std::uint64_t column, std::uint64_t row) {
        return cells_[row * (width_ - 2) + column - 1];
    }
    void add(std::uint64_t column, std::uint64_t row, unsigned short value) {
        if (value >= 929) {
            return;
        }
        ModelCell& c = cell(column, row);
        const auto word = static_cast<std::uint16_t>(value | (row % 3) << 14);
        auto found = std::find_if(c.candidates.begin(), c.candidates.end(),
                                  [&](const auto& cand) { return cand.first == word; });
        if (found == c.candidates.end()) {
            c.candidates.emplace_back(word, 1);
            c.exact = c.exact && c.candidates.size() <= 8;
        } else if (++found->second >= 65535) {
            c.exact = false;
        }
    }

private:
    std::array<ModelCell, MultiTable::CELL_COUNT> cells_;
    std::uint64_t width_ = 0;
    std::uint64_t height_ = 0;
};

void checkCell(const MultiTable& table, Model& model, std::uint64_t column, std::uint64_t row) {
    const CodeWordInfo info = table.get(column, row);
    if (column >= table.width() || row >= table.height()) {
        check(!info.codeWord.isValid() && info.score == 0.0f, "a cell outside the table read");
        return;
    }
    if (column == 0 || column + 1 == table.width()) {
        // Row indicators are made from the geometry and name their own row.
        check(info.codeWord.isValid() && info.score == 1.0f, "a row indicator is not certain");
        check(info.codeWord.extractRowNumber() == row, "a row indicator names another row");
        check(static_cast<std::uint64_t>(info.codeWord.cluster()) == row % 3,
              "a row indicator has the wrong cluster");
        return;
    }
    const ModelCell& c = model.cell(column, row);
    if (!c.exact) {
        check(info.codeWord.isValid() && info.score > 0.0f && info.score < 1.0f,
              "a voted cell lost its votes");
        return;
    }
    if (c.candidates.empty()) {
        check(!info.codeWord.isValid() && info.score == 0.0f, "an empty cell has a codeword");
        return;
    }
    std::uint32_t sum = 0;
    std::uint32_t most = 0;
    std::uint16_t best = 0;
    for (const auto& cand : c.candidates) {
        sum += cand.second;
        if (cand.second > most) {
            most = cand.second;
            best = cand.first;
        }
    }
    check(info.codeWord.code() == (best & 0x3FFFu) &&
              static_cast<unsigned>(info.codeWord.cluster()) == best >> 14u,
          "the best candidate is not the first with the most votes");
    check(info.score == static_cast<float>(most) / static_cast<float>(sum + 1),
          "the score is not votes / (all votes + 1)");
}

void checkData(const MultiTable& table, Model& model) {
    MultiTable::TableData data;
    data.codeWords.resize(3);
    data.ecCount = 7;
    const bool ok = table.getData(data);
    const std::uint64_t width = table.width();
    const std::uint64_t height = table.height();
    bool expected = width >= 3 && height >= 3;
    std::uint64_t total = 0;
    std::uint64_t ecCount = 0;
    if (expected) {
        const std::uint64_t capacity = height * (width - 2);
        ecCount = std::uint64_t{2} << table.ecl();
        const CodeWordInfo descriptor = table.get(1, 0);
        total = descriptor.codeWord.isValid() ? descriptor.codeWord.code() + ecCount : capacity;
        expected = total <= capacity && total > ecCount;
    }
    check(ok == expected, "getData's verdict is wrong");
    if (!ok) {
        check(data.codeWords.empty() && data.ecCount == 0, "a refused extraction left data");
        return;
    }
    check(data.codeWords.size() == total && data.ecCount == ecCount, "wrong extraction size");
    std::size_t i = 0;
    for (std::uint64_t row = 0; row < height && i < total; ++row) {
        for (std::uint64_t column = 1; column + 1 < width && i < total; ++column, ++i) {
            const CodeWordInfo cell = table.get(column, row);
            check(data.codeWords[i].codeWord == cell.codeWord &&
                      data.codeWords[i].score == cell.score,
                  "an extracted codeword is not its cell's best");
            checkCell(table, model, column, row);
        }
    }
}

std::uint64_t argument(pdf417::fuzz::FuzzInput& in, bool wide, unsigned range) {
    return wide ? in.u64() : in.u8() % range;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    auto table = std::make_unique<MultiTable>();
    auto model = std::make_unique<Model>();
    bool saturated = false;
    for (unsigned op = 0; op < kMaxOperations && !in.empty(); ++op) {
        const std::uint8_t code = in.u8();
        const bool wide = (code & 0x80u) != 0;
        switch (code & 7u) {
        case 0: {
            const std::uint64_t width = argument(in, wide, 40);
            const std::uint64_t height = argument(in, wide, 100);
            const std::uint8_t ecl = in.u8();
            table->clear(static_cast<unsigned long>(width), static_cast<unsigned long>(height),
                         ecl);
            check(table->width() == std::min<std::uint64_t>(width, 30) &&
                      table->height() == std::min<std::uint64_t>(height, 90) &&
                      table->ecl() == std::min<std::uint8_t>(ecl, 8),
                  "the geometry was not clamped to 30 x 90, level 8");
            model->clear(table->width(), table->height());
            break;
        }
        case 1:
            table->clear();
            model->clear();
            break;
        case 2:
        case 3: {
            const std::uint64_t column = argument(in, wide, 32);
            const std::uint64_t row = argument(in, wide, 100);
            const unsigned short value = wide ? in.u16() : in.u16() % 1000;
            const unsigned repeat = 1 + in.u8() % 16;
            for (unsigned r = 0; r < repeat; ++r) {
                const bool added = table->add(static_cast<unsigned long>(column),
                                              static_cast<unsigned long>(row), value);
                check(added == model->inside(column, row), "add accepted the wrong cells");
                if (added) {
                    model->add(column, row, value);
                }
            }
            break;
        }
        case 4: {
            // Once per input, so many votes that the counter must saturate.
            const std::uint64_t column = argument(in, false, 32);
            const std::uint64_t row = argument(in, false, 100);
            const unsigned short value = in.u16() % 929;
            if (saturated || !model->inside(column, row)) {
                break;
            }
            saturated = true;
            for (unsigned r = 0; r < kSaturation; ++r) {
                table->add(column, row, value);
                model->add(column, row, value);
            }
            const CodeWordInfo info = table->get(column, row);
            check(info.codeWord.isValid() && info.codeWord.code() == value,
                  "a saturated candidate lost its cell");
            break;
        }
        case 5:
        case 6: {
            const std::uint64_t column = argument(in, wide, 32);
            const std::uint64_t row = argument(in, wide, 100);
            checkCell(*table, *model, column, row);
            break;
        }
        default:
            checkData(*table, *model);
            break;
        }
    }
    checkData(*table, *model);
    return 0;
}
