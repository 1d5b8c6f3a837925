#include "tools/reading/Mask.h"

#include <cctype>

#include <gtest/gtest.h>

using reading::Mask;

namespace {

std::string Shape(std::string text) {
    for (char& c : text) {
        const auto character = static_cast<unsigned char>(c);
        c = std::isdigit(character) ? '9' : std::isupper(character) ? 'A' : std::islower(character) ? 'a' : c;
    }
    return text;
}

std::string HexadecimalShape(std::string text) {
    for (char& c : text)
        c = std::isxdigit(static_cast<unsigned char>(c)) ? 'F' : c;
    return text;
}

} // namespace

TEST(Mask, NameKeepsItsShapeAndIsAnother) {
    Mask mask;
    mask.Learn("Server-07 Port 1");
    const std::string masked = mask.Apply("Server-07 Port 1");
    EXPECT_NE("Server-07 Port 1", masked);
    EXPECT_EQ(Shape("Server-07 Port 1"), Shape(masked));
}

TEST(Mask, IsTheSameEverywhere) {
    Mask first;
    Mask second;
    first.Learn("SN0001");
    second.Learn("another");
    second.Learn("SN0001");
    EXPECT_EQ(first.Apply("SN0001"), second.Apply("SN0001"));
    EXPECT_EQ(first.Apply("20:00:00:1B:21:00:00:01"), second.Apply("20:00:00:1B:21:00:00:01"));
}

TEST(Mask, DifferentTextsAreTold) {
    Mask mask;
    mask.Learn("SN0001");
    mask.Learn("SN0002");
    EXPECT_NE(mask.Apply("SN0001"), mask.Apply("SN0002"));
    EXPECT_NE(mask.Apply("20:00:00:1B:21:00:00:01"), mask.Apply("20:00:00:1B:21:00:00:02"));
}

TEST(Mask, NameIsReplacedInsideASentenceButNotInsideAWord) {
    Mask mask;
    mask.Learn("Alpha");
    const std::string standIn = mask.Apply("Alpha");
    EXPECT_EQ("The adapter " + standIn + ", Alphabet, " + standIn + ".",
              mask.Apply("The adapter Alpha, Alphabet, Alpha."));
}

TEST(Mask, LongestNameIsTaken) {
    Mask mask;
    mask.Learn("CX");
    mask.Learn("CX Port 1");
    Mask alone;
    alone.Learn("CX Port 1");
    EXPECT_EQ(alone.Apply("CX Port 1"), mask.Apply("CX Port 1"));
}

TEST(Mask, BlanksAroundANameDoNotCount) {
    Mask mask;
    mask.Learn("  SN7  ");
    mask.Learn("   ");
    mask.Learn("");
    EXPECT_NE("SN7", mask.Apply("SN7"));
    EXPECT_EQ("a   b", mask.Apply("a   b"));
}

TEST(Mask, WorldWideNameKeepsTheKindOfItsAuthority) {
    const std::string masked = Mask().Apply("port 50:06:01:60:00:00:00:1A.");
    EXPECT_NE("port 50:06:01:60:00:00:00:1A.", masked);
    EXPECT_EQ("port 5", masked.substr(0, 6));
    EXPECT_EQ(HexadecimalShape("50:06:01:60:00:00:00:1A."), HexadecimalShape(masked.substr(5)));
}

TEST(Mask, IdentifierIsTheSameInAnyCase) {
    const std::string upper = Mask().Apply("{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1}");
    std::string lower = Mask().Apply("{5b2c7a10-3d4e-4f60-8a71-92b3c4d5e6f1}");
    EXPECT_NE("{5B2C7A10-3D4E-4F60-8A71-92B3C4D5E6F1}", upper);
    for (char& c : lower)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(upper, lower);
}

TEST(Mask, MacAddressIsReplaced) {
    for (const char* address : {"00:1B:21:AA:BB:CC", "00-1B-21-AA-BB-CC"}) {
        EXPECT_NE(address, Mask().Apply(address));
        EXPECT_EQ(HexadecimalShape(address), HexadecimalShape(Mask().Apply(address)));
    }
}

TEST(Mask, WhatIsNoAddressStays) {
    for (const char* text :
         {"00:00:00:00:00:00:00:00", "12:34:56", "0x37000064", "FC ID 0x010900", "2026-11-22 17:02:14",
          "\\\\.\\PHYSICALDRIVE2", "50:06:01:60:00:00:00:1A:2B", "Fabric 100"})
        EXPECT_EQ(text, Mask().Apply(text));
}

TEST(Mask, CharactersOutsideAsciiAreReplacedByOneLetterEach) {
    Mask mask;
    mask.Learn("\xC3\xBCml\xE2\x82\xAC");
    const std::string masked = mask.Apply("\xC3\xBCml\xE2\x82\xAC");
    EXPECT_EQ("aaaa", Shape(masked));
}

TEST(Mask, TextsOfADocumentAreReplacedAndKeysStay) {
    Mask mask;
    mask.Learn("name");
    nlohmann::ordered_json document{{"name", "name"}, {"list", {"name", 5, {{"name", "x name y"}}}}};
    mask.Apply(document);
    const std::string standIn = mask.Apply("name");
    EXPECT_EQ(nlohmann::ordered_json({{"name", standIn}, {"list", {standIn, 5, {{"name", "x " + standIn + " y"}}}}}),
              document);
}

TEST(Mask, NameIsReplacedAsOutputsSpellIt) {
    const std::string name = "Vault \"A\" \\ \xC3\xBC\tSons";
    Mask mask;
    mask.Learn(name);
    const std::string standIn = mask.Apply(name);
    const std::string json = nlohmann::ordered_json({{"name", name}}).dump(-1, ' ', true);
    EXPECT_EQ(standIn, nlohmann::ordered_json::parse(mask.Apply(json))["name"]);
    for (const char* spelling : {"Vault \"\"A\"\" \\ \xC3\xBC\tSons", "Vault \"A\" \\ \xC3\xBC\\x09Sons"})
        EXPECT_EQ(std::string::npos, mask.Apply(spelling).find("Vault")) << spelling;
}
