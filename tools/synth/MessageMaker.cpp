#include "tools/synth/MessageMaker.h"

#include <cstdio>
#include <string>
#include <vector>

namespace pdf417 {
namespace synth {

namespace {

const char* const WORDS[] = {
    "parcel",    "invoice", "station", "north",    "river",   "account", "ticket", "order",
    "delivery",  "seat",    "gate",    "coach",    "number",  "valid",   "until",  "route",
    "warehouse", "box",     "pallet",  "return",   "express", "city",    "member", "card",
    "the",       "of",      "and",     "to",       "for",     "with",    "from",   "at",
    "boarding",  "pass",    "flight",  "customer", "serial",  "batch",   "lot",    "item",
};
constexpr std::uint32_t WORD_COUNT = sizeof(WORDS) / sizeof(WORDS[0]);

const char* const LAST_NAMES[] = {"SMITH",  "JOHNSON", "GARCIA", "NGUYEN",   "MUELLER",
                                  "OKAFOR", "ROSSI",   "TANAKA", "KOWALSKI", "OBRIEN"};
const char* const FIRST_NAMES[] = {"JOHN", "MARIA", "WEI",   "FATIMA", "JAMES",
                                   "ANNA", "LUIS",  "PRIYA", "OLIVER", "SOFIA"};
const char* const CITIES[] = {"SPRINGFIELD", "RIVERSIDE", "FAIRVIEW", "GEORGETOWN", "MADISON"};
const char* const STREETS[] = {"MAIN ST", "OAK AVE", "PINE RD", "MAPLE DR", "CEDAR LN"};
const char* const STATES[] = {"CA", "TX", "NY", "FL", "WA", "IL", "OH", "GA"};

template <std::size_t N>
const char* pick(const char* const (&list)[N], Random& random) {
    return list[random.below(static_cast<std::uint32_t>(N))];
}

std::string number(Random& random, int digits) {
    std::string text;
    for (int i = 0; i < digits; ++i) {
        text += static_cast<char>('0' + random.below(10));
    }
    return text;
}

std::string upperAlnum(Random& random, int length) {
    static const char ALNUM[] = "ABCDEFGHJKLMNPQRSTUVWXYZ0123456789";
    std::string text;
    for (int i = 0; i < length; ++i) {
        text += ALNUM[random.below(sizeof(ALNUM) - 1)];
    }
    return text;
}

// MMDDYYYY.
std::string date(Random& random, int firstYear, int years) {
    char text[16];
    std::snprintf(text, sizeof text, "%02u%02u%04u", 1 + random.below(12), 1 + random.below(28),
                  static_cast<unsigned>(firstYear) +
                      random.below(static_cast<std::uint32_t>(years)));
    return text;
}

} // namespace

const char* contentName(ContentKind kind) {
    switch (kind) {
    case ContentKind::ShortText:
        return "short-text";
    case ContentKind::LongText:
        return "long-text";
    case ContentKind::Digits:
        return "digits";
    case ContentKind::Bytes:
        return "bytes";
    case ContentKind::Licence:
        return "licence";
    }
    return "unknown";
}

std::string MessageMaker::make(ContentKind kind, Random& random) {
    switch (kind) {
    case ContentKind::ShortText:
        return shortText(random);
    case ContentKind::LongText:
        return longText(random);
    case ContentKind::Digits:
        return digits(random);
    case ContentKind::Bytes:
        return bytes(random);
    case ContentKind::Licence:
        return licence(random);
    }
    return std::string();
}

std::string MessageMaker::shortText(Random& random) {
    const std::size_t length = 4 + random.below(37);
    std::string text;
    while (text.size() < length) {
        if (!text.empty()) {
            text += random.chance(0.2) ? "-" : " ";
        }
        if (random.chance(0.3)) {
            text += number(random, 1 + static_cast<int>(random.below(6)));
        } else {
            std::string word = pick(WORDS, random);
            if (random.chance(0.3)) {
                word[0] = static_cast<char>(word[0] - 'a' + 'A');
            }
            text += word;
        }
    }
    text.resize(length);
    // A trailing space or dash would be invisible in the index; end on a letter.
    if (text.back() == ' ' || text.back() == '-') {
        text.back() = 'X';
    }
    return text;
}

std::string MessageMaker::longText(Random& random) {
    const std::size_t length = 100 + random.below(501);
    std::string text;
    bool sentenceStart = true;
    while (text.size() < length) {
        if (!text.empty()) {
            text += ' ';
        }
        std::string word = random.chance(0.1)
                               ? number(random, 1 + static_cast<int>(random.below(4)))
                               : pick(WORDS, random);
        if (sentenceStart && word[0] >= 'a' && word[0] <= 'z') {
            word[0] = static_cast<char>(word[0] - 'a' + 'A');
        }
        text += word;
        sentenceStart = false;
        const double p = random.uniform();
        if (p < 0.08) {
            text += '.';
            sentenceStart = true;
        } else if (p < 0.13) {
            text += ',';
        } else if (p < 0.15) {
            text += random.chance(0.5) ? ';' : ':';
        } else if (p < 0.16) {
            text += random.chance(0.5) ? '!' : '?';
            sentenceStart = true;
        }
    }
    text.resize(length);
    if (text.back() == ' ') {
        text.back() = '.';
    }
    return text;
}

std::string MessageMaker::digits(Random& random) {
    return number(random, 8 + static_cast<int>(random.below(293)));
}

// Mostly arbitrary bytes; one message in five is a record tagged by one
// binary byte, the rest printable words. libzint opens that one with a byte
// shift, which the decoder deliberately skips: the corpus shows what it costs.
std::string MessageMaker::bytes(Random& random) {
    const std::size_t length = 6 + random.below(145);
    std::string data;
    if (random.chance(0.2)) {
        data += static_cast<char>(128 + random.below(128));
        while (data.size() < length) {
            data += data.size() == 1 ? "" : " ";
            data += pick(WORDS, random);
        }
        data.resize(length);
        return data;
    }
    for (std::size_t i = 0; i < length; ++i) {
        data += static_cast<char>(random.below(256));
    }
    return data;
}

// Modelled on the North American licence record: a header naming the issuer,
// then one element per line, three-letter tag first, the record closed by a
// carriage return. Optional elements and a filler element bring it to the
// drawn length.
std::string MessageMaker::licence(Random& random) {
    const std::size_t target = 250 + random.below(201);
    std::string record = "@\n\x1e\rANSI 636" + number(random, 3) + "090102DL00410" +
                         number(random, 3) + "ZC0" + number(random, 3) + "00" + number(random, 2) +
                         "DL";
    const std::string last = pick(LAST_NAMES, random);
    const std::string first = pick(FIRST_NAMES, random);
    const std::vector<std::string> required = {
        "DAQ" + std::string(1, static_cast<char>('A' + random.below(26))) +
            number(random, 8 + static_cast<int>(random.below(5))),
        "DCS" + last,
        "DAC" + first,
        "DAD" + std::string(pick(FIRST_NAMES, random)),
        "DBD" + date(random, 2016, 8),
        "DBB" + date(random, 1950, 55),
        "DBA" + date(random, 2025, 8),
        "DBC" + std::to_string(1 + random.below(2)),
        "DAY" + std::string(random.chance(0.5) ? "BRO" : "BLU"),
        "DAU" + std::to_string(58 + random.below(20)) + " in",
        "DAG" + std::to_string(1 + random.below(9999)) + " " + pick(STREETS, random),
        "DAI" + std::string(pick(CITIES, random)),
        "DAJ" + std::string(pick(STATES, random)),
        "DAK" + number(random, 9) + "  ",
        "DCF" + upperAlnum(random, 10 + static_cast<int>(random.below(16))),
        "DCGUSA",
    };
    const std::vector<std::string> optional = {
        "DDEN",
        "DDFN",
        "DDGN",
        "DCAC",
        "DCBNONE",
        "DCDNONE",
        "DAW" + std::to_string(100 + random.below(150)),
        "DCK" + upperAlnum(random, 12 + static_cast<int>(random.below(10))),
        "DDAF",
        "DDB" + date(random, 2010, 10),
        "DDK1",
        "DAZ" + std::string(random.chance(0.5) ? "BRO" : "BLK"),
    };
    for (const std::string& element : required) {
        record += element + "\n";
    }
    for (const std::string& element : optional) {
        if (record.size() + element.size() + 1 + 6 > target) {
            break;
        }
        record += element + "\n";
    }
    // A jurisdiction's own element fills the rest, leaving room for the
    // closing carriage return.
    if (record.size() + 6 <= target) {
        record += "ZCZ" + upperAlnum(random, static_cast<int>(target - record.size() - 5)) + "\n";
    }
    record += "\r";
    return record;
}

} // namespace synth
} // namespace pdf417
