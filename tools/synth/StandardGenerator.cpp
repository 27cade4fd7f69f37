#include "tools/synth/StandardGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/MessageMaker.h"
#include "tools/synth/Placement.h"
#include "tools/synth/Random.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <vector>

namespace pdf417 {
namespace synth {

namespace {

using test::Vec2;

constexpr double QUIET_ZONE = 2.0;
constexpr int MAX_COLUMNS = 12;

struct Charset {
    int eci;
    const char* iconvName;
    const char* name; // in the index
    std::vector<const char*> words;
};

const std::vector<Charset>& charsets() {
    static const std::vector<Charset> list = {
        {26, "UTF-8", "eci-utf8", {"Grüße", "東京", "Привет", "Καλημέρα", "café", "naïve", "№42"}},
        {3, "ISO-8859-1", "eci-latin1", {"Grüße", "aus", "Köln", "café", "señor", "Øre", "à"}},
        {4, "ISO-8859-2", "eci-latin2", {"Zażółć", "gęślą", "jaźń", "Příliš", "žluťoučký", "kůň"}},
        {7, "ISO-8859-5", "eci-cyrillic", {"Привет", "мир", "заказ", "номер", "доставка"}},
        {9, "ISO-8859-7", "eci-greek", {"Καλημέρα", "κόσμε", "παραγγελία", "αριθμός"}},
        {22, "CP1251", "eci-windows1251", {"Привет", "мир", "счёт", "получатель", "Київ"}},
        {20,
         "SHIFT_JIS",
         "eci-shift-jis",
         {"東京都", "配送", "番号", "カタカナ", "ひらがな", "様"}},
        {28, "BIG5", "eci-big5", {"台北市", "信義區", "訂單", "號碼", "收件人"}},
        {29, "GB2312", "eci-gb2312", {"北京市", "海淀区", "订单", "号码", "收件人"}},
        {30, "EUC-KR", "eci-euc-kr", {"서울특별시", "주문", "번호", "배송", "수령인"}},
    };
    return list;
}

std::string numberText(Random& random) {
    std::string digits;
    for (int i = 1 + static_cast<int>(random.below(6)); i > 0; --i) {
        digits += static_cast<char>('0' + random.below(10));
    }
    return digits;
}

} // namespace

bool StandardGenerator::convert(const std::string& text, const char* charset, std::string& out) {
    iconv_t cd = iconv_open(charset, "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        return false;
    }
    std::vector<char> in(text.begin(), text.end());
    std::vector<char> buffer(text.size() * 4 + 16);
    char* inPtr = in.data();
    std::size_t inLeft = in.size();
    char* outPtr = buffer.data();
    std::size_t outLeft = buffer.size();
    const std::size_t rc = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    iconv_close(cd);
    if (rc == static_cast<std::size_t>(-1) || inLeft != 0) {
        return false;
    }
    out.assign(buffer.data(), buffer.size() - outLeft);
    return true;
}

std::string StandardGenerator::latin1ToUtf8(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | (b >> 6));
            text += static_cast<char>(0x80 | (b & 0x3F));
        }
    }
    return text;
}

bool StandardGenerator::make(std::uint64_t index, CorpusFrame& frame, std::string& error) {
    Random random(Random::derive(Random::derive(seed_, 0x57A4), index));
    frame = CorpusFrame();
    test::CorpusEntry& entry = frame.entry;
    entry.corpus = "standard";
    const std::uint64_t noiseSeed = random.next();
    const CameraLook look = CameraLook::mild(random);
    double module = random.uniform(2.5, 5.0);
    const int level = 2 + static_cast<int>(random.below(4));
    const int wantColumns = 2 + static_cast<int>(random.below(MAX_COLUMNS - 1));
    const double rowHeight = random.uniform(3.0, 5.0);
    const double tilt = random.uniform(-4.0, 4.0);
    const double spread = random.uniform(0.0, 0.03);

    test::ExpectedRead expected;
    const double pick = random.uniform();
    if (pick < 0.45) { // ECI: text converted by libzint
        const Charset& charset =
            charsets()[random.below(static_cast<std::uint32_t>(charsets().size()))];
        std::string text;
        for (int words = 2 + static_cast<int>(random.below(12)); words > 0; --words) {
            text += text.empty() ? "" : " ";
            text +=
                random.chance(0.2)
                    ? numberText(random)
                    : charset.words[random.below(static_cast<std::uint32_t>(charset.words.size()))];
        }
        if (!convert(text, charset.iconvName, frame.message)) {
            error = std::string("iconv cannot convert to ") + charset.iconvName;
            return false;
        }
        expected.input = text;
        expected.eci = charset.eci;
        expected.unicode = true;
        expected.text = text;
        entry.content = charset.name;
        entry.eci = charset.eci;
    } else if (pick < 0.8) { // one symbol of a Macro PDF417 sequence
        const auto kind = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
        frame.message = MessageMaker::make(kind, random);
        expected.input = frame.message;
        expected.macroCount = 2 + static_cast<int>(random.below(8));
        expected.macroIndex =
            1 + static_cast<int>(random.below(static_cast<std::uint32_t>(expected.macroCount)));
        for (int groups = 1 + static_cast<int>(random.below(3)); groups > 0; --groups) {
            char group[8];
            std::snprintf(group, sizeof group, "%03u", random.below(900));
            expected.macroId += group;
        }
        expected.text = latin1ToUtf8(frame.message);
        entry.content = "macro";
        entry.macro = true;
    } else { // one byte of 128 or more, then text: libzint opens with a byte shift
        std::string message(1, static_cast<char>(128 + random.below(128)));
        message += MessageMaker::make(ContentKind::ShortText, random);
        frame.message = message;
        expected.input = message;
        expected.text = latin1ToUtf8(message);
        entry.content = "byte-shift";
    }

    test::Pdf417Modules symbol;
    const auto encode = [&](int columns, test::Pdf417Modules& out, std::string& refusal) {
        return test::encodePdf417(expected.input, expected.zint(columns, level), out, &refusal);
    };
    if (!Placement::chooseLayout(encode, wantColumns, MAX_COLUMNS, rowHeight, QUIET_ZONE, tilt,
                                 spread, WIDTH, HEIGHT, module, symbol, error)) {
        return false;
    }
    // The expected bytes are what libzint put in the symbol: the converted
    // bytes, given as they are under the same ECI, draw the same symbol.
    if (expected.unicode) {
        test::ZintOptions raw = expected.zint(symbol.dataColumns, level);
        raw.utf8 = false;
        test::Pdf417Modules same;
        if (!test::encodePdf417(frame.message, raw, same, &error) ||
            same.modules != symbol.modules) {
            error = "libzint and iconv disagree on " + entry.content + ": " + error;
            return false;
        }
    }

    const test::ModuleGrid grid(symbol);
    const double w = grid.columns();
    const double h = grid.rows() * rowHeight;
    test::SymbolRenderer::Options options;
    options.frameWidth = WIDTH;
    options.frameHeight = HEIGHT;
    options.rowHeight = rowHeight;
    options.quietZone = QUIET_ZONE;
    options.rotationDegrees = tilt;
    const Placement::Placed placed = Placement::placeAnywhere(
        grid, w, h, QUIET_ZONE, spread, -1, 1.0, WIDTH, HEIGHT, random, options, module);
    entry.perspective = placed.perspective;

    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = symbol.dataColumns;
    entry.rows = symbol.rows;
    entry.level = level;
    entry.checkCodewords = CodewordFootprint::checkCodewords(level);
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    entry.rotation = tilt;
    entry.sideRatio = Placement::sideRatio(placed.quad);
    entry.quietZone = QUIET_ZONE;
    entry.fits = placed.fits;
    frame.expected = expected;
    look.render(renderer_, grid, options, noiseSeed, frame);
    return true;
}

} // namespace synth
} // namespace pdf417
