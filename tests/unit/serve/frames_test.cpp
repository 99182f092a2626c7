// Frames from the collector, however they are cut.
#include "serve/frames.h"

#include <gtest/gtest.h>

using namespace diskmgt::serve;

TEST(Frames, AreReadHoweverTheyAreCut) {
    const std::string bytes = framed(FrameKind::kInstances, "instances") + framed(FrameKind::kReady, "") +
                              framed(FrameKind::kDocuments, std::string(100000, 'x'));
    for (const std::size_t piece : {std::size_t{1}, std::size_t{9}, std::size_t{4096}, bytes.size()}) {
        FrameReader reader;
        std::string kinds, texts;
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            reader.append(bytes.data() + at, std::min(piece, bytes.size() - at));
            while (const auto frame = reader.next()) {
                kinds += static_cast<char>(frame->kind);
                texts += frame->payload;
            }
        }
        EXPECT_EQ(kinds, "ird");
        EXPECT_EQ(texts, "instances" + std::string(100000, 'x'));
        EXPECT_FALSE(reader.isBroken());
    }
}

TEST(Frames, OfAnUnknownKindOrTooLongBreakTheStream) {
    std::string unknown = framed(FrameKind::kInstances, "text");
    unknown[0] = '?';
    std::string tooLong = framed(FrameKind::kInstances, "text");
    tooLong[8] = '\x7f';
    for (const std::string& bytes : {unknown, tooLong}) {
        FrameReader reader;
        reader.append(bytes.data(), bytes.size());
        EXPECT_FALSE(reader.next());
        EXPECT_TRUE(reader.isBroken());
        reader.append(bytes.data(), bytes.size());
        EXPECT_FALSE(reader.next());
    }
}
