// Base 64 and UUID strings.
#include <gtest/gtest.h>

#include <set>

#include "Platform/core/KSBase64.h"
#include "Platform/core/KSUUID.h"

namespace kestrum {
namespace {

TEST(KSBase64, EncodesTheStandardVectors) {
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(KSBase64Encode(std::string_view(plain)), encoded);
        KSData decoded;
        ASSERT_TRUE(KSBase64Decode(encoded, &decoded)) << encoded;
        EXPECT_EQ(std::string(decoded.begin(), decoded.end()), plain);
    }
}

TEST(KSBase64, RoundTripsEveryByteValue) {
    KSData bytes;
    for (int i = 0; i < 256; ++i)
        bytes.push_back(static_cast<std::uint8_t>(255 - i));
    for (std::size_t length = 0; length <= bytes.size(); length += 37) {
        KSData part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        KSData back;
        ASSERT_TRUE(KSBase64Decode(KSBase64Encode(part), &back));
        EXPECT_EQ(back, part);
    }
}

TEST(KSBase64, DecodingSkipsWhitespaceAndRejectsJunk) {
    KSData out;
    ASSERT_TRUE(KSBase64Decode(" Zm9v\nYmFy\r\n", &out));
    EXPECT_EQ(std::string(out.begin(), out.end()), "foobar");
    ASSERT_TRUE(KSBase64Decode("Zm8", &out));  // unpadded
    EXPECT_EQ(std::string(out.begin(), out.end()), "fo");
    for (const char* junk : {"Zm9v!", "Zm=9v", "Z===", "Zm9vY", "Zg=", "Zg==Zg=="}) {
        out = {1, 2, 3};
        EXPECT_FALSE(KSBase64Decode(junk, &out)) << junk;
        EXPECT_TRUE(out.empty()) << junk;
    }
}

TEST(KSUUID, StringsAreUpperCaseVersionFourAndUnique) {
    std::set<std::string> seen;
    for (int i = 0; i < 2000; ++i) {
        std::string uuid = KSUUIDString();
        ASSERT_TRUE(KSIsUUIDString(uuid)) << uuid;
        EXPECT_EQ(uuid[14], '4') << uuid;
        EXPECT_NE(std::string("89AB").find(uuid[19]), std::string::npos) << uuid;
        for (char c : uuid)
            EXPECT_FALSE(c >= 'a' && c <= 'f') << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 2000u);
}

TEST(KSUUID, RecognisesTheTextForm) {
    EXPECT_TRUE(KSIsUUIDString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"));
    EXPECT_FALSE(KSIsUUIDString("E621E1F8C36C495A93FC0C247A3E6E5F"));
    EXPECT_FALSE(KSIsUUIDString("E621E1F8-C36C-495A-93FC-0C247A3E6E5G"));
    EXPECT_FALSE(KSIsUUIDString("E621E1F8-C36C-495A-93FC-0C247A3E6E5"));
    EXPECT_FALSE(KSIsUUIDString(""));
}

}  // namespace
}  // namespace kestrum
