// A program built against the installed package, as a user would build one.
#include "pdf417scan/api/Read.h"

#include <cstdio>
#include <vector>

int main() {
    std::vector<unsigned char> paper(160 * 120, 200);
    const pdf417::ReadResult blank =
        pdf417::read(pdf417::ImageView(paper.data(), paper.size(), 160, 120));
    const pdf417::ReadResult null = pdf417::read(pdf417::ImageView(nullptr, 0, 160, 120));
    if (blank.status != pdf417::ReadStatus::NothingFound ||
        null.status != pdf417::ReadStatus::NullBuffer) {
        std::printf("unexpected results\n");
        return 1;
    }
    std::printf("consumer: %s, %s\n", pdf417::describe(blank.status),
                pdf417::describe(null.status));
    return 0;
}
