#include "model/Uuid.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace lumivert {
namespace {

constexpr const char* upper = "01234567-89AB-CDEF-FEDC-BA9876543210";

TEST(Uuid, readsEitherCaseAndWritesUpperCase) {
    for (const char* text :
         {upper, "01234567-89ab-cdef-fedc-ba9876543210", "01234567-89aB-CdEf-feDC-Ba9876543210"}) {
        SCOPED_TRACE(text);
        const auto uuid = Uuid::fromText(text);
        ASSERT_TRUE(uuid);
        EXPECT_EQ(uuid->text(), upper);
        EXPECT_EQ(uuid->bytes[0], 0x01);
        EXPECT_EQ(uuid->bytes[15], 0x10);
    }
}

TEST(Uuid, readsNoOtherForm) {
    using namespace std::string_literals;
    for (const std::string& text :
         {""s, "0123456789ABCDEFFEDCBA9876543210"s, "{01234567-89AB-CDEF-FEDC-BA9876543210}"s,
          "01234567-89AB-CDEF-FEDC-BA987654321"s, "01234567-89AB-CDEF-FEDC-BA98765432100"s,
          "01234567-89AB-CDEF-FEDC-BA987654321G"s, "0123456-789AB-CDEF-FEDC-BA9876543210"s,
          "01234567-89AB-CDEF-FEDC+BA9876543210"s, "01234567-89AB-CDEFFEDC--BA9876543210"s,
          " 1234567-89AB-CDEF-FEDC-BA9876543210"s, "01234567-89AB-CDEF-FEDC-BA9876543210\n"s,
          "0x234567-89AB-CDEF-FEDC-BA9876543210"s, "+1234567-89AB-CDEF-FEDC-BA9876543210"s}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Uuid::fromText(text), std::nullopt);
    }
}

TEST(Uuid, refusesAWrongCharacterAtAnyPlace) {
    for (std::size_t at = 0; at < 36; ++at) {
        std::string text = upper;
        text[at] = text[at] == '-' ? '0' : '-';
        EXPECT_EQ(Uuid::fromText(text), std::nullopt) << text;
    }
}

TEST(Uuid, comesBackFromItsText) {
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        Uuid uuid;
        for (auto& byte : uuid.bytes)
            byte = static_cast<std::uint8_t>(random());
        ASSERT_EQ(uuid.text().size(), 36U);
        EXPECT_EQ(Uuid::fromText(uuid.text()), uuid);
    }
}

TEST(Uuid, countsEveryByteInEqualityAndHash) {
    const Uuid uuid = Uuid::fromText(upper).value();
    EXPECT_EQ(std::hash<Uuid>{}(uuid), std::hash<Uuid>{}(Uuid(uuid)));
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i) {
        Uuid other = uuid;
        other.bytes[i] ^= 1;
        EXPECT_NE(uuid, other) << i;
        EXPECT_NE(std::hash<Uuid>{}(uuid), std::hash<Uuid>{}(other)) << i;
    }
}

} // namespace
} // namespace lumivert
