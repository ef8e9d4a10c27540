// The persistence stream: byte layout, failure state, strings, files.

#include "scenegraph/oxBaseStream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using ox::oxBaseStream;
using Bytes = std::vector<unsigned char>;

TEST(SceneGraphStream, WritesLittleEndianWhateverTheHost)
{
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    const std::uint16_t u16[2] = {0x0102, 0xA0B0};
    const std::uint32_t u32 = 0x01020304u;
    const std::uint64_t u64 = 0x0102030405060708ull;
    const float one = 1.0f;        // IEEE 754: 0x3F800000
    const double minusTwo = -2.0;  // 0xC000000000000000
    const std::int32_t minusOne = -1;
    const std::uint8_t byte = 0x7F;
    ASSERT_TRUE(out.writele(2, 2, u16));
    ASSERT_TRUE(out.writele(1, 4, &u32));
    ASSERT_TRUE(out.writele(1, 8, &u64));
    ASSERT_TRUE(out.writeValue(one));
    ASSERT_TRUE(out.writeValue(minusTwo));
    ASSERT_TRUE(out.writeValue(minusOne));
    ASSERT_TRUE(out.writeValue(byte));
    const Bytes expected = {0x02, 0x01, 0xB0, 0xA0,                          // u16 pair
                            0x04, 0x03, 0x02, 0x01,                          // u32
                            0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01,  // u64
                            0x00, 0x00, 0x80, 0x3F,                          // 1.0f
                            0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0,  // -2.0
                            0xFF, 0xFF, 0xFF, 0xFF,                          // -1
                            0x7F};
    EXPECT_EQ(out.getBuffer(), expected);
    EXPECT_EQ(out.tell(), expected.size());

    // Reading the bytes back gives the values in host order.
    oxBaseStream in = oxBaseStream::openMemoryRead(expected.data(), expected.size());
    std::uint16_t r16[2] = {0, 0};
    std::uint32_t r32 = 0;
    std::uint64_t r64 = 0;
    float rf = 0.0f;
    double rd = 0.0;
    std::int32_t ri = 0;
    std::uint8_t rb = 0;
    ASSERT_TRUE(in.readle(2, 2, r16));
    ASSERT_TRUE(in.readle(1, 4, &r32));
    ASSERT_TRUE(in.readle(1, 8, &r64));
    ASSERT_TRUE(in.readValue(rf) && in.readValue(rd) && in.readValue(ri) && in.readValue(rb));
    EXPECT_EQ(r16[0], 0x0102);
    EXPECT_EQ(r16[1], 0xA0B0);
    EXPECT_EQ(r32, u32);
    EXPECT_EQ(r64, u64);
    EXPECT_EQ(rf, 1.0f);
    EXPECT_EQ(rd, -2.0);
    EXPECT_EQ(ri, -1);
    EXPECT_EQ(rb, 0x7F);
    EXPECT_TRUE(in.good());
}

TEST(SceneGraphStream, TruncatedReadsFailAndTheFailureSticks)
{
    const Bytes bytes = {1, 2, 3, 4, 5, 6};
    oxBaseStream in = oxBaseStream::openMemoryRead(bytes);
    std::uint32_t value = 0;
    ASSERT_TRUE(in.readValue(value));
    EXPECT_EQ(value, 0x04030201u);
    // Two bytes remain: a 4-byte read fails, leaves the stream failed...
    EXPECT_FALSE(in.readValue(value));
    EXPECT_FALSE(in.good());
    // ...and a read that would have fitted fails too.
    std::uint16_t small = 0;
    EXPECT_FALSE(in.readValue(small));

    // Zero-element reads succeed on a good stream, unsupported element sizes fail it.
    oxBaseStream other = oxBaseStream::openMemoryRead(bytes);
    EXPECT_TRUE(other.readle(0, 4, nullptr));
    unsigned char three[3];
    EXPECT_FALSE(other.readle(1, 3, three));
    EXPECT_FALSE(other.good());

    // Writing to a read stream and reading from a write stream fail.
    oxBaseStream reader = oxBaseStream::openMemoryRead(bytes);
    EXPECT_FALSE(reader.writeValue(small));
    oxBaseStream writer = oxBaseStream::openMemoryWrite();
    EXPECT_FALSE(writer.readValue(small));
}

TEST(SceneGraphStream, StringsAndArrays)
{
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(out.writeString("ab"));
    ASSERT_TRUE(out.writeString(""));
    ASSERT_TRUE(out.writeArray(std::vector<float>{0.5f, -1.0f}));
    const Bytes expectedPrefix = {2, 0, 0, 0, 'a', 'b', 0, 0, 0, 0};
    ASSERT_GE(out.getBuffer().size(), expectedPrefix.size());
    EXPECT_TRUE(std::equal(expectedPrefix.begin(), expectedPrefix.end(), out.getBuffer().begin()));

    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    std::string first = "x";
    std::string second = "y";
    std::vector<float> values;
    ASSERT_TRUE(in.readString(first));
    ASSERT_TRUE(in.readString(second));
    ASSERT_TRUE(in.readArray(2, values));
    EXPECT_EQ(first, "ab");
    EXPECT_EQ(second, "");
    EXPECT_EQ(values, (std::vector<float>{0.5f, -1.0f}));

    // A length longer than the remaining bytes fails and leaves the string unchanged.
    const Bytes corrupt = {0xFF, 0xFF, 0xFF, 0x7F, 'a'};
    oxBaseStream bad = oxBaseStream::openMemoryRead(corrupt);
    std::string kept = "kept";
    EXPECT_FALSE(bad.readString(kept));
    EXPECT_EQ(kept, "kept");
    // Same for arrays with a count beyond the data.
    oxBaseStream badArray = oxBaseStream::openMemoryRead(corrupt);
    std::vector<std::uint32_t> keptArray = {7};
    EXPECT_FALSE(badArray.readArray(1000000, keptArray));
    EXPECT_EQ(keptArray, std::vector<std::uint32_t>{7});
}

TEST(SceneGraphStream, FileRoundTripAndMissingFile)
{
    const std::string path = ::testing::TempDir() + "ox_stream_roundtrip.bin";
    {
        oxBaseStream out = oxBaseStream::openFileWrite(path);
        ASSERT_TRUE(out.good());
        ASSERT_TRUE(out.writeValue(std::uint32_t(0xDEADBEEF)));
        ASSERT_TRUE(out.writeString("scene"));
        ASSERT_TRUE(out.close());
    }
    {
        std::FILE* raw = std::fopen(path.c_str(), "rb");
        ASSERT_NE(raw, nullptr);
        unsigned char head[4] = {0, 0, 0, 0};
        ASSERT_EQ(std::fread(head, 1, 4, raw), 4u);
        std::fclose(raw);
        EXPECT_EQ(head[0], 0xEF);
        EXPECT_EQ(head[3], 0xDE);
    }
    oxBaseStream in = oxBaseStream::openFileRead(path);
    std::uint32_t value = 0;
    std::string text;
    ASSERT_TRUE(in.readValue(value));
    ASSERT_TRUE(in.readString(text));
    EXPECT_EQ(value, 0xDEADBEEFu);
    EXPECT_EQ(text, "scene");
    EXPECT_FALSE(in.readValue(value));  // end of file
    std::remove(path.c_str());

    oxBaseStream missing = oxBaseStream::openFileRead(::testing::TempDir() + "ox_no_such_dir/none.bin");
    EXPECT_FALSE(missing.good());
    EXPECT_FALSE(missing.readValue(value));
}

TEST(SceneGraphStream, MovedStreamKeepsItsOwnedBytes)
{
    oxBaseStream in = oxBaseStream::openMemoryRead(Bytes{9, 0, 0, 0});
    oxBaseStream moved(std::move(in));
    std::uint32_t value = 0;
    ASSERT_TRUE(moved.readValue(value));
    EXPECT_EQ(value, 9u);
}

}  // namespace
