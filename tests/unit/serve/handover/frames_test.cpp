// Frames from the collector, however they are cut.
#include "serve/handover/frames.h"

#include <gtest/gtest.h>

using namespace diskmgt::serve;

namespace {

std::string framed(FrameKind kind, const std::string& payload) { return frameHead(kind, payload.size()) + payload; }

}  // namespace

TEST(Frames, AreReadHoweverTheyAreCut) {
    const std::string bytes = framed(FrameKind::kInstances, "instances") + framed(FrameKind::kReady, "") +
                              framed(FrameKind::kPage, std::string(100000, 'x')) + framed(FrameKind::kEnd, "");
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
        EXPECT_EQ(kinds, "irpe");
        EXPECT_EQ(texts, "instances" + std::string(100000, 'x'));
        EXPECT_FALSE(reader.isBroken());
    }
}

TEST(Frames, EveryKindIsKnown) {
    for (const FrameKind kind : {FrameKind::kReady, FrameKind::kInstances, FrameKind::kJson, FrameKind::kMetrics,
                                 FrameKind::kPage, FrameKind::kEnd}) {
        FrameReader reader;
        const std::string bytes = framed(kind, "text");
        reader.append(bytes.data(), bytes.size());
        const auto frame = reader.next();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->kind, kind);
        EXPECT_EQ(frame->payload, "text");
    }
}

TEST(Frames, OfAnUnknownKindOrTooLongBreakTheStream) {
    std::string unknown = framed(FrameKind::kInstances, "text");
    unknown[0] = '?';
    std::string none = unknown;
    none[0] = '\0';
    std::string tooLong = framed(FrameKind::kInstances, "text");
    tooLong[8] = '\x7f';
    for (const std::string& bytes : {unknown, none, tooLong}) {
        FrameReader reader;
        reader.append(bytes.data(), bytes.size());
        EXPECT_FALSE(reader.next());
        EXPECT_TRUE(reader.isBroken());
        reader.append(bytes.data(), bytes.size());
        EXPECT_FALSE(reader.next());
    }
}
