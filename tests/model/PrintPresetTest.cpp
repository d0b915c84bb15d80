#include "model/PrintPreset.h"

#include "support/CommaLocale.h"
#include "support/PrintValues.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <concepts>
#include <functional>
#include <limits>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace lumivert {
namespace {

using Json = nlohmann::json;

PrintPreset somePreset() {
    return {.id = "01234567-89AB-CDEF-FEDC-BA9876543210",
            .name = "Baryta",
            .paperSizeID = "A4",
            .paperTypeID = "photographic",
            .orientation = "Landscape",
            .borderless = true,
            .sizingMode = "Image Size",
            .marginTop = 1.5,
            .marginBottom = 2.25,
            .marginLeft = 3,
            .marginRight = 4,
            .imageWidthMM = 99.99,
            .imageHeightMM = 150,
            .imageSizeCentered = true,
            .imageSizeMarginTop = -5,
            .imageSizeMarginLeft = 6.125,
            .scalingMode = "Actual Size",
            .iccProfileID = "/profiles/Baryta.icc",
            .renderingIntent = "Saturation"};
}

const char* const someDocument =
    R"([{"id":"01234567-89ab-cdef-fedc-ba9876543210","name":"Baryta","paperSizeID":"A4",)"
    R"("paperTypeID":"photographic","orientation":"Landscape","borderless":true,)"
    R"("sizingMode":"Image Size","marginTop":1.5,"marginBottom":2.25,"marginLeft":3,)"
    R"("marginRight":4,"imageWidthMM":99.99,"imageHeightMM":150,"imageSizeCentered":true,)"
    R"("imageSizeMarginTop":-5,"imageSizeMarginLeft":6.125,"scalingMode":"Actual Size",)"
    R"("iccProfileID":"/profiles/Baryta.icc","renderingIntent":"Saturation"}])";

std::string randomText(std::mt19937_64& random) {
    static const std::vector<std::string> pieces{
        "a",    "Z",    " ", "\t", "\n", "\"",   "\\",         "/",      std::string(1, '\0'),
        "\x01", "\x7f", "å", "·",  "×",  "日本", "\U0001F5BC", "\u2028", "</script>",
        "%",    "𝄞"};
    std::string text;
    for (auto length = random() % 12; length > 0; --length)
        text += pieces[random() % pieces.size()];
    return text;
}

double randomLength(std::mt19937_64& random) {
    for (;;) {
        const double any = std::bit_cast<double>(random());
        if (random() % 2)
            return static_cast<double>(static_cast<int>(random() % 6000) - 1000) * 0.05;
        if (std::isfinite(any))
            return any;
    }
}

PrintPreset randomPreset(std::mt19937_64& random) {
    PrintPreset preset;
    forEachField(preset, [&]<class Field>(const char*, Field& field) {
        if constexpr (std::same_as<Field, bool>)
            field = random() % 2;
        else if constexpr (std::same_as<Field, double>)
            field = randomLength(random);
        else {
            static_assert(std::same_as<Field, std::string>,
                          "say here which values a field of this type takes");
            field = randomText(random);
        }
    });
    preset.id = "01234567-89AB-CDEF-FEDC-BA9876543210";
    for (char& c : preset.id)
        if (c != '-')
            c = "0123456789ABCDEF"[random() % 16];
    return preset;
}

// `preset` with one of its fields of that type, counted from 0, changed by `change`; nothing behind
// the last of them.
template <class Field, class Change>
std::optional<PrintPreset> withChanged(PrintPreset preset, int index, Change change) {
    int found = 0;
    forEachField(preset, [&]<class Any>(const char*, Any& field) {
        if constexpr (std::same_as<Any, Field>)
            if (found++ == index)
                change(field);
    });
    return found > index ? std::optional(preset) : std::nullopt;
}

void expectRoundTrips(int rounds) {
    std::mt19937_64 random(1);
    for (int round = 0; round < rounds; ++round) {
        std::vector<PrintPreset> presets;
        for (auto count = random() % 5; count > 0; --count)
            presets.push_back(randomPreset(random));
        const auto document = encodePresets(presets);
        ASSERT_TRUE(document);
        ASSERT_EQ(decodePresets(*document), presets) << *document;
    }
}

TEST(PresetDocument, bringsBackRandomPresetsExactly) {
    expectRoundTrips(400);
}

TEST(PresetDocument, isTheSameUnderALocaleWithAComma) {
    const auto document = encodePresets({somePreset()});
    const CommaLocale locale;
    if (!locale.isSet())
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    EXPECT_EQ(encodePresets({somePreset()}), document);
    EXPECT_EQ(decodePresets(someDocument), std::vector{somePreset()});
    expectRoundTrips(50);
}

TEST(PresetDocument, isACompactArrayOfObjectsOfTheseKeys) {
    PrintPreset second = somePreset();
    second.name = "Second";
    const auto text = encodePresets({somePreset(), second});
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find(": "), std::string::npos);
    EXPECT_EQ(text->find('\n'), std::string::npos);

    const Json document = Json::parse(*text);
    ASSERT_EQ(document.size(), 2U);
    EXPECT_EQ(document[1]["name"], "Second");
    Json expected = Json::parse(someDocument)[0];
    expected["id"] = "01234567-89AB-CDEF-FEDC-BA9876543210"; // upper case as written
    EXPECT_EQ(document[0], expected);
}

TEST(PresetDocument, ofNoPresetsIsAnEmptyArray) {
    EXPECT_EQ(encodePresets({}), "[]");
    EXPECT_EQ(decodePresets("[]"), std::vector<PrintPreset>{});
    EXPECT_EQ(decodePresets(" [ ]\n"), std::vector<PrintPreset>{});
}

TEST(PresetDocument, isReadWithItsKeysInAnyOrderAndALowerCaseId) {
    EXPECT_EQ(decodePresets(someDocument), std::vector{somePreset()});
    nlohmann::ordered_json reversed = nlohmann::ordered_json::object();
    const Json object = Json::parse(someDocument)[0];
    for (auto entry = object.rbegin(); entry != object.rend(); ++entry)
        reversed[entry.key()] = entry.value();
    EXPECT_EQ(decodePresets(nlohmann::ordered_json::array({reversed}).dump(2)),
              std::vector{somePreset()});
}

TEST(PresetDocument, ignoresFurtherKeys) {
    Json document = Json::parse(someDocument);
    document[0]["colour"] = {{"deep", {1, nullptr}}};
    document[0]["ID"] = 7;
    EXPECT_EQ(decodePresets(document.dump()), std::vector{somePreset()});
}

TEST(PresetDocument, needsEveryKeyInEveryElement) {
    const Json whole = Json::parse(someDocument)[0];
    for (const auto& [key, value] : whole.items()) {
        SCOPED_TRACE(key);
        Json lacking = whole;
        lacking.erase(key);
        EXPECT_EQ(decodePresets(Json::array({lacking}).dump()), std::nullopt);
        EXPECT_EQ(decodePresets(Json::array({whole, lacking}).dump()), std::nullopt);
        EXPECT_EQ(decodePresets(Json::array({lacking, whole}).dump()), std::nullopt);

        std::string otherCase = key;
        otherCase[0] = static_cast<char>(otherCase[0] ^ 0x20);
        lacking[otherCase] = value;
        EXPECT_EQ(decodePresets(Json::array({lacking}).dump()), std::nullopt) << "keys are exact";
    }
}

TEST(PresetDocument, needsEveryValueToBeOfItsType) {
    const Json whole = Json::parse(someDocument)[0];
    const std::vector<Json> values{nullptr,       true,          1, 2.5, "text", "1", "true",
                                   Json::array(), Json::object()};
    for (const auto& [key, right] : whole.items()) {
        for (const Json& value : values) {
            SCOPED_TRACE(key + " = " + value.dump());
            Json changed = whole;
            changed[key] = value;
            const bool sameType = (right.is_number() && value.is_number()) ||
                                  (right.is_string() && value.is_string() && key != "id") ||
                                  (right.is_boolean() && value.is_boolean());
            EXPECT_EQ(decodePresets(Json::array({changed}).dump()).has_value(), sameType);
        }
    }
}

TEST(PresetDocument, isNotReadWhenItIsNoArrayOfObjects) {
    for (const char* text : {"",    " ",   "null", "{}",     "true",        "1",     "\"text\"",
                             "[",   "[1]", "[[]]", "[null]", "[{}]",        "[{}",   "[]]",
                             "[],", "[,]", "[]x",  "[] []",  "// note\n[]", "[NaN]", "\xff"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(decodePresets(text), std::nullopt);
    }
    EXPECT_EQ(decodePresets(Json::parse(someDocument)[0].dump()), std::nullopt)
        << "one object is no list";
    for (const std::string& behind :
         {std::string(1, '\0'), std::string("\0x", 2), std::string("}")})
        EXPECT_EQ(decodePresets(someDocument + behind), std::nullopt);
    EXPECT_EQ(decodePresets(std::string(1, '\0') + someDocument), std::nullopt);
}

TEST(PresetDocument, isNotReadWhenItIsCutOffAnywhere) {
    const std::string document = someDocument;
    for (std::size_t length = 0; length < document.size(); ++length)
        ASSERT_EQ(decodePresets(document.substr(0, length)), std::nullopt) << length;
}

TEST(PresetDocument, isNotReadWithTextThatIsNotUtf8OrNumbersOutOfRange) {
    const auto with = [](std::string_view from, const std::string& to) {
        std::string document = someDocument;
        const auto at = document.find(from);
        EXPECT_NE(at, std::string::npos);
        return document.replace(at, from.size(), to);
    };
    ASSERT_TRUE(decodePresets(with("99.99", "99.98")));
    EXPECT_EQ(decodePresets(with("Baryta", "Bary\xff")), std::nullopt);
    EXPECT_EQ(decodePresets(with("Baryta", "\\ud800")), std::nullopt);
    EXPECT_EQ(decodePresets(with("99.99", "1e999")), std::nullopt);
    EXPECT_EQ(decodePresets(with("99.99", "NaN")), std::nullopt);
    EXPECT_EQ(decodePresets(with("99.99", "99,99")), std::nullopt);
    EXPECT_EQ(decodePresets(with("99.99", "18446744073709551616"))->front().imageWidthMM,
              18446744073709551616.0);
}

TEST(PresetDocument, survivesDeepNestingAndHugeInput) {
    constexpr std::size_t depth = 100'000;
    EXPECT_EQ(decodePresets(std::string(depth, '[')), std::nullopt);
    EXPECT_EQ(decodePresets(std::string(depth, '[') + std::string(depth, ']')), std::nullopt);

    std::string nested = someDocument; // deep below a key that is ignored
    nested.insert(nested.size() - 2,
                  ",\"more\":" + std::string(depth, '[') + std::string(depth, ']'));
    EXPECT_EQ(decodePresets(nested), std::vector{somePreset()});

    const std::vector<PrintPreset> many(500, somePreset());
    EXPECT_EQ(decodePresets(encodePresets(many).value()), many);
    PrintPreset longName = somePreset();
    longName.name.assign(1'000'000, 'x');
    EXPECT_EQ(decodePresets(encodePresets({longName}).value()), std::vector{longName});
}

TEST(PresetDocument, cannotHoldALengthThatIsNotFinite) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {std::nan(""), infinity, -infinity}) {
        int count = 0;
        while (const auto preset = withChanged<double>(somePreset(), count,
                                                       [&](double& length) { length = value; })) {
            EXPECT_EQ(encodePresets({*preset}), std::nullopt);
            EXPECT_EQ(encodePresets({somePreset(), *preset, somePreset()}), std::nullopt);
            ++count;
        }
        EXPECT_GT(count, 1);
    }
}

TEST(PresetDocument, cannotHoldATextThatIsNotUtf8) {
    for (const char* value : {"\xff", "a\xc3", "\xed\xa0\x80"}) {
        int count = 0;
        while (const auto preset = withChanged<std::string>(
                   somePreset(), count, [&](std::string& text) { text = value; })) {
            EXPECT_EQ(encodePresets({*preset}), std::nullopt);
            ++count;
        }
        EXPECT_GT(count, 1);
    }
}

// Stands for a value of any type, to count the members of a record with.
struct Anything {
    template <class T>
    operator T() const; // NOLINT: never defined, never called
};
template <class Record, class... Members>
constexpr std::size_t memberCount() {
    if constexpr (requires { Record{Members{}..., Anything{}}; })
        return memberCount<Record, Members..., Anything>();
    else
        return sizeof...(Members);
}

TEST(PrintPreset, hasEveryMemberInItsListOfFields) {
    std::set<std::string> keys;
    std::size_t fields = 0;
    const PrintPreset preset = somePreset();
    forEachField(preset, [&](const char* key, const auto&) {
        keys.insert(key);
        ++fields;
    });
    EXPECT_EQ(fields, memberCount<PrintPreset>()) << "see forEachSetting in model/PrintPreset.h";
    EXPECT_EQ(keys.size(), fields);
    EXPECT_EQ(fields, 19U);
}

TEST(PrintPreset, countsEveryFieldInEqualityAndHash) {
    const PrintPreset preset = somePreset();
    const std::hash<PrintPreset> hash;
    EXPECT_EQ(hash(preset), hash(PrintPreset(preset)));
    const auto expectAnother = [&]<class Field>(auto change) {
        for (int i = 0; const auto other = withChanged<Field>(preset, i, change); ++i) {
            EXPECT_NE(preset, *other) << i;
            EXPECT_NE(hash(preset), hash(*other)) << i;
        }
    };
    expectAnother.operator()<bool>([](bool& flag) { flag = !flag; });
    expectAnother.operator()<double>([](double& length) { length += 0.5; });
    expectAnother.operator()<std::string>([](std::string& text) { text += "x"; });
}

TEST(PresetSummary, namesPaperSizeAndScaling) {
    PrintPreset preset = somePreset();
    preset.scalingMode = "Fit to Page";
    preset.sizingMode = "Margins";
    preset.marginTop = preset.marginBottom = preset.marginLeft = preset.marginRight = 5;
    EXPECT_EQ(presetSummary(preset), "A4 \u00b7 T5 B5 L5 R5mm \u00b7 Fit to Page");
    preset.sizingMode = "Image Size";
    preset.imageWidthMM = 190;
    preset.imageHeightMM = 277;
    EXPECT_EQ(presetSummary(preset), "A4 \u00b7 190\u00d7277mm \u00b7 Fit to Page");
}

TEST(PresetSummary, roundsMarginsButCutsImageSizesOff) {
    PrintPreset preset = somePreset();
    preset.imageWidthMM = 99.99;
    preset.imageHeightMM = 150;
    EXPECT_EQ(presetSummary(preset), "A4 · 99×150mm · Actual Size");
    preset.imageWidthMM = 190.9;
    preset.imageHeightMM = -0.9;
    EXPECT_EQ(presetSummary(preset), "A4 · 190×0mm · Actual Size");
    preset.sizingMode = "Margins";
    preset.marginTop = 2.5;
    preset.marginBottom = 3.5;
    preset.marginLeft = 2.51;
    preset.marginRight = 190.9;
    EXPECT_EQ(presetSummary(preset), "A4 · T2 B4 L3 R191mm · Actual Size");
}

TEST(PresetSummary, showsStoredTextsAsTheyAre) {
    PrintPreset preset = somePreset();
    preset.paperSizeID = "Gone.Size";
    preset.scalingMode = "Fill Page";
    EXPECT_EQ(presetSummary(preset), "Gone.Size · 99×150mm · Fill Page");
    preset.sizingMode = "image size";
    EXPECT_EQ(presetSummary(preset), "Gone.Size · T2 B2 L3 R4mm · Fill Page")
        << "only the exact text means an image size";
}

} // namespace
} // namespace lumivert
