// Vertex layouts, vertex buffers and index buffers.

#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxVertexBuffer.h"

#include <gtest/gtest.h>

namespace {

using namespace ox;

/// position 3, normal 3, colour 0 RGBA, colour 2 RGB, tcoord 0 UV, tcoord 3 UVW, tangent, psize.
oxAttributes fullLayout()
{
    oxAttributes a;
    a.SetPositionChannels(3);
    a.SetNormalChannels(3);
    a.SetColorChannels(0, 4);
    a.SetColorChannels(2, 3);
    a.SetTCoordChannels(0, 2);
    a.SetTCoordChannels(3, 3);
    a.SetTangentChannels(3);
    a.SetPSizeChannels(1);
    return a;
}

/// position 3, colour 1 RGB, point size.
oxAttributes pointLayout()
{
    oxAttributes a;
    a.SetPositionChannels(3);
    a.SetColorChannels(1, 3);
    a.SetPSizeChannels(1);
    return a;
}

TEST(SceneGraphAttributes, OffsetsFollowTheRecordOrder)
{
    const oxAttributes full = fullLayout();
    // Hand-computed record: pos[0..2] nrm[3..5] c0[6..9] c2[10..12] t0[13..14] t3[15..17] tan[18..20] ps[21].
    EXPECT_EQ(full.GetChannelQuantity(), 22);
    EXPECT_EQ(full.GetPositionOffset(), 0);
    EXPECT_EQ(full.GetNormalOffset(), 3);
    EXPECT_EQ(full.GetColorOffset(0), 6);
    EXPECT_EQ(full.GetColorOffset(1), -1);
    EXPECT_EQ(full.GetColorOffset(2), 10);
    EXPECT_EQ(full.GetColorOffset(3), -1);
    EXPECT_EQ(full.GetTCoordOffset(0), 13);
    EXPECT_EQ(full.GetTCoordOffset(1), -1);
    EXPECT_EQ(full.GetTCoordOffset(3), 15);
    EXPECT_EQ(full.GetTCoordOffset(7), -1);
    EXPECT_EQ(full.GetTangentOffset(), 18);
    EXPECT_EQ(full.GetPSizeOffset(), 21);
    EXPECT_TRUE(full.HasColor(2));
    EXPECT_FALSE(full.HasColor(1));
    EXPECT_TRUE(full.HasTCoord(3));
    EXPECT_EQ(full.GetTCoordChannels(3), 3);
    EXPECT_EQ(full.GetColorChannels(0), 4);

    const oxAttributes points = pointLayout();
    EXPECT_EQ(points.GetChannelQuantity(), 7);
    EXPECT_EQ(points.GetNormalOffset(), -1);
    EXPECT_EQ(points.GetColorOffset(1), 3);
    EXPECT_EQ(points.GetPSizeOffset(), 6);
    EXPECT_FALSE(points.HasNormal());
    EXPECT_TRUE(points.HasPSize());

    oxAttributes empty;
    EXPECT_EQ(empty.GetChannelQuantity(), 0);
    EXPECT_EQ(empty.GetPositionOffset(), -1);
    EXPECT_FALSE(empty.HasPosition());

    // Without a position the first present kind starts the record.
    oxAttributes normalsOnly;
    normalsOnly.SetNormalChannels(3);
    EXPECT_EQ(normalsOnly.GetNormalOffset(), 0);

    EXPECT_EQ(oxAttributes::GetMaxColors(), 4);
    EXPECT_EQ(oxAttributes::GetMaxTCoords(), 8);
}

TEST(SceneGraphAttributes, InvalidCountsAndUnitsAreIgnored)
{
    oxAttributes a = pointLayout();
    const oxAttributes before = a;
    a.SetPositionChannels(2);
    a.SetNormalChannels(4);
    a.SetColorChannels(1, 2);
    a.SetColorChannels(4, 3);
    a.SetTCoordChannels(8, 2);
    a.SetTCoordChannels(0, 5);
    a.SetPSizeChannels(2);
    EXPECT_TRUE(a == before);
    EXPECT_EQ(a.GetColorChannels(-1), 0);
    EXPECT_EQ(a.GetColorOffset(9), -1);
}

TEST(SceneGraphAttributes, MatchesComparesOnlyTheFlaggedKinds)
{
    const oxAttributes full = fullLayout();
    oxAttributes other = full;
    EXPECT_TRUE(full.Matches(other, true, true, true, true, true, true));
    EXPECT_TRUE(full == other);

    other.SetTCoordChannels(5, 2);
    EXPECT_FALSE(full.Matches(other, false, false, false, true));
    EXPECT_TRUE(full.Matches(other, true, true, true, false, true, true));
    EXPECT_FALSE(full == other);

    other = full;
    other.SetColorChannels(2, 4);
    EXPECT_FALSE(full.Matches(other, false, false, true, false));
    EXPECT_TRUE(full.Matches(other, true, true, false, true));

    other = full;
    other.SetNormalChannels(0);
    EXPECT_FALSE(full.Matches(other, false, true, false, false));
    EXPECT_TRUE(full.Matches(other, true, false, true, true, true, true));

    other = full;
    other.SetTangentChannels(0);
    other.SetPSizeChannels(0);
    // Tangent and point size are not compared by default.
    EXPECT_TRUE(full.Matches(other, true, true, true, true));
    EXPECT_FALSE(full.Matches(other, false, false, false, false, true, false));
    EXPECT_FALSE(full.Matches(other, false, false, false, false, false, true));
}

TEST(SceneGraphVertexBuffer, StrideAndChannelAliasing)
{
    for (const oxAttributes& layout : {fullLayout(), pointLayout()}) {
        oxVertexBuffer vb(layout, 5);
        const int stride = layout.GetChannelQuantity();
        ASSERT_EQ(vb.GetChannelQuantity(), stride);
        ASSERT_EQ(vb.GetVertexQuantity(), 5);
        // Records are contiguous: the position of vertex 1 is one stride after vertex 0.
        EXPECT_EQ(static_cast<const float*>(vb.Position3(1)) - static_cast<const float*>(vb.Position3(0)),
                  stride);
        EXPECT_EQ(static_cast<const float*>(vb.Position3(0)), vb.GetData());
        EXPECT_EQ(vb.GetVertexData(3), vb.GetData() + 3 * stride);

        // Freshly created buffers are zero everywhere.
        for (int k = 0; k < 5 * stride; ++k) {
            ASSERT_EQ(vb.GetData()[k], 0.0f);
        }

        vb.Position3(4) = Wm4::Vector3<float>(1.0f, 2.0f, 3.0f);
        vb.PSize1(2) = 0.25f;
        EXPECT_EQ(vb.GetData()[4 * stride + 1], 2.0f);
        EXPECT_EQ(vb.GetData()[2 * stride + layout.GetPSizeOffset()], 0.25f);
    }

    // Colour and texture accessors land at the hand-computed offsets of the full layout.
    oxVertexBuffer vb(fullLayout(), 3);
    vb.Color3(2, 1) = Wm4::ColorRGB(0.1f, 0.2f, 0.3f);
    EXPECT_EQ(vb.GetData()[22 + 10], 0.1f);
    EXPECT_EQ(vb.GetData()[22 + 12], 0.3f);
    vb.Color4(0, 2) = Wm4::ColorRGBA(0.5f, 0.6f, 0.7f, 0.8f);
    EXPECT_EQ(vb.GetData()[44 + 6], 0.5f);
    EXPECT_EQ(vb.GetData()[44 + 9], 0.8f);
    vb.GetData()[22 + 15 + 2] = 9.0f;  // tcoord 3, third channel, vertex 1
    EXPECT_EQ(vb.TCoord3(3, 1).Z(), 9.0f);
    vb.TCoord2(0, 0) = Wm4::Vector2<float>(4.0f, 5.0f);
    EXPECT_EQ(vb.GetData()[14], 5.0f);
    vb.Tangent3(2) = Wm4::Vector3<float>(0.0f, 0.0f, -1.0f);
    EXPECT_EQ(vb.GetData()[44 + 20], -1.0f);
    vb.Normal3(0) = Wm4::Vector3<float>(0.0f, 7.0f, 0.0f);
    EXPECT_EQ(vb.GetData()[4], 7.0f);
    // Colour 3 of the RGBA unit reads the first three channels.
    const oxVertexBuffer& constVb = vb;
    EXPECT_EQ(constVb.Color3(0, 2), Wm4::ColorRGB(0.5f, 0.6f, 0.7f));
}

TEST(SceneGraphVertexBuffer, ResizeKeepsLeadingRecordsAndZeroesNewOnes)
{
    oxVertexBuffer vb(pointLayout(), 3);
    for (int i = 0; i < 3; ++i) {
        vb.Position3(i) = Wm4::Vector3<float>(float(i), float(10 * i), 1.0f);
        vb.PSize1(i) = float(i) + 0.5f;
    }
    vb.SetVertexQuantity(5);
    ASSERT_EQ(vb.GetVertexQuantity(), 5);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(vb.Position3(i), Wm4::Vector3<float>(float(i), float(10 * i), 1.0f));
        EXPECT_EQ(vb.PSize1(i), float(i) + 0.5f);
    }
    EXPECT_EQ(vb.Position3(4), Wm4::Vector3<float>::ZERO);
    EXPECT_EQ(vb.PSize1(3), 0.0f);

    vb.resizeVertexBuffer(2);
    ASSERT_EQ(vb.GetVertexQuantity(), 2);
    EXPECT_EQ(vb.Position3(1), Wm4::Vector3<float>(1.0f, 10.0f, 1.0f));
    vb.resizeVertexBuffer(4);
    // The dropped record does not come back: regrown records are zero.
    EXPECT_EQ(vb.Position3(2), Wm4::Vector3<float>::ZERO);
    EXPECT_EQ(vb.PSize1(2), 0.0f);
    EXPECT_EQ(vb.Position3(0), Wm4::Vector3<float>(0.0f, 0.0f, 1.0f));

    vb.SetVertexQuantity(0);
    EXPECT_EQ(vb.GetVertexQuantity(), 0);
    EXPECT_EQ(vb.GetData(), nullptr);
}

TEST(SceneGraphVertexBuffer, PersistenceEqualsAndClone)
{
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(fullLayout(), 4));
    for (int k = 0; k < 4 * 22; ++k) {
        vb->GetData()[k] = 0.125f * float(k) - 3.0f;
    }
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(vb->Save(out));
    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxPointer<oxVertexBuffer> loaded(new oxVertexBuffer());
    ASSERT_TRUE(loaded->Load(in));
    EXPECT_TRUE(loaded->GetAttributes() == fullLayout());
    EXPECT_TRUE(vb->Equals(loaded.get()));
    EXPECT_EQ(in.tell(), out.getBuffer().size());

    oxObject* copy = nullptr;
    ASSERT_TRUE(vb->Clone(copy));
    oxPointer<oxObject> owner(copy);
    EXPECT_TRUE(vb->Equals(copy));
    static_cast<oxVertexBuffer*>(copy)->PSize1(3) += 1.0f;
    EXPECT_FALSE(vb->Equals(copy));
    EXPECT_FALSE(vb->Equals(nullptr));

    // Every truncation of the saved bytes fails to load.
    for (std::size_t size = 0; size < out.getBuffer().size(); size += 7) {
        std::vector<unsigned char> part(out.getBuffer().begin(),
                                        out.getBuffer().begin() + static_cast<long>(size));
        oxBaseStream shortStream = oxBaseStream::openMemoryRead(part);
        oxVertexBuffer target;
        EXPECT_FALSE(target.Load(shortStream)) << size;
    }
}

TEST(SceneGraphIndexBuffer, IndicesResizeAndPersistence)
{
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(6));
    EXPECT_EQ(ib->GetIndexQuantity(), 6);
    EXPECT_EQ(ib->GetIndexBufferType(), oxIndexBuffer::IBT_TRIANGLES);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ((*ib)[i], 0u);
        (*ib)[i] = static_cast<unsigned int>(10 + i);
    }
    EXPECT_EQ(ib->GetData()[5], 15u);
    ib->SetIndexQuantity(8);
    EXPECT_EQ((*ib)[5], 15u);
    EXPECT_EQ((*ib)[7], 0u);
    ib->SetIndexQuantity(4);
    EXPECT_EQ(ib->GetIndexQuantity(), 4);
    EXPECT_EQ((*ib)[3], 13u);

    oxIndexBuffer quads(8, oxIndexBuffer::IBT_QUADS);
    EXPECT_EQ(quads.GetIndexBufferType(), oxIndexBuffer::IBT_QUADS);

    (*ib)[0] = 0xFFFFFFFFu;
    oxBaseStream out = oxBaseStream::openMemoryWrite();
    ASSERT_TRUE(ib->Save(out));
    oxBaseStream in = oxBaseStream::openMemoryRead(out.getBuffer());
    oxIndexBuffer loaded;
    ASSERT_TRUE(loaded.Load(in));
    EXPECT_TRUE(ib->Equals(&loaded));
    EXPECT_EQ(loaded[0], 0xFFFFFFFFu);
    loaded.SetIndexBufferType(oxIndexBuffer::IBT_LINES);
    EXPECT_FALSE(ib->Equals(&loaded));
}

}  // namespace
