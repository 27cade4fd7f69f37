#include "tests/support/ExpectedRead.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <type_traits>

namespace pdf417 {
namespace test {

ZintOptions ExpectedRead::zint(int columns, int level) const {
    ZintOptions options;
    options.dataColumns = columns;
    options.ecLevel = level;
    options.eci = eci;
    options.utf8 = unicode;
    options.structIndex = macroIndex;
    options.structCount = macroCount;
    options.structId = macroId;
    return options;
}

bool ExpectedRead::write(const std::string& path) const {
    nlohmann::json json;
    // Byte strings other than UTF-8 would not survive JSON: the input is
    // kept only when it is text, the .msg file holds the bytes.
    if (unicode) {
        json["input"] = input;
    }
    json["eci"] = eci;
    json["unicode"] = unicode;
    if (text) {
        json["text"] = *text;
    }
    if (isMacro()) {
        json["macro"] = {{"index", macroIndex},
                         {"count", macroCount},
                         {"id", macroId},
                         {"segment_index", segmentIndex()},
                         {"file_id", fileId()},
                         {"segment_count", macroCount},
                         {"last_segment", lastSegment()}};
    }
    std::ofstream out(path, std::ios::binary);
    out << json.dump(2) << '\n';
    out.flush();
    return static_cast<bool>(out);
}

bool ExpectedRead::read(const std::string& path, ExpectedRead& out, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot open " + path;
        return false;
    }
    const nlohmann::json json = nlohmann::json::parse(in, nullptr, false);
    if (json.is_discarded() || !json.is_object()) {
        error = path + ": not a JSON object";
        return false;
    }
    ExpectedRead parsed;
    const auto field = [&](const nlohmann::json& object, const char* name, auto& value) {
        const auto it = object.find(name);
        if (it == object.end()) {
            return true;
        }
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, bool>) {
            if (!it->is_boolean()) {
                return false;
            }
        } else if constexpr (std::is_same_v<T, int>) {
            if (!it->is_number_integer()) {
                return false;
            }
        } else if (!it->is_string()) {
            return false;
        }
        value = it->template get<T>();
        return true;
    };
    std::string text;
    bool ok = field(json, "input", parsed.input) && field(json, "eci", parsed.eci) &&
              field(json, "unicode", parsed.unicode) && field(json, "text", text);
    if (json.contains("text")) {
        parsed.text = text;
    }
    if (ok && json.contains("macro")) {
        const nlohmann::json& macro = json["macro"];
        ok = macro.is_object() && field(macro, "index", parsed.macroIndex) &&
             field(macro, "count", parsed.macroCount) && field(macro, "id", parsed.macroId);
    }
    if (!ok) {
        error = path + ": a field of the wrong type";
        return false;
    }
    out = parsed;
    return true;
}

} // namespace test
} // namespace pdf417
