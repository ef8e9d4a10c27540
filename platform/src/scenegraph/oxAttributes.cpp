#include "scenegraph/oxAttributes.h"

#include "scenegraph/oxBaseStream.h"

#include <algorithm>

namespace ox {

namespace {

bool isZeroOrThree(int channels)
{
    return channels == 0 || channels == 3;
}

}  // namespace

oxAttributes::oxAttributes()
{
    for (int& c : m_color) {
        c = 0;
    }
    for (int& c : m_tcoord) {
        c = 0;
    }
}

void oxAttributes::SetPositionChannels(int channels)
{
    if (isZeroOrThree(channels)) {
        m_position = channels;
    }
}

void oxAttributes::SetNormalChannels(int channels)
{
    if (isZeroOrThree(channels)) {
        m_normal = channels;
    }
}

void oxAttributes::SetColorChannels(int unit, int channels)
{
    if (validColorUnit(unit) && (channels == 0 || channels == 3 || channels == 4)) {
        m_color[unit] = channels;
    }
}

void oxAttributes::SetTCoordChannels(int unit, int channels)
{
    if (validTCoordUnit(unit) && channels >= 0 && channels <= 4) {
        m_tcoord[unit] = channels;
    }
}

void oxAttributes::SetTangentChannels(int channels)
{
    if (isZeroOrThree(channels)) {
        m_tangent = channels;
    }
}

void oxAttributes::SetPSizeChannels(int channels)
{
    if (channels == 0 || channels == 1) {
        m_psize = channels;
    }
}

int oxAttributes::colorStart(int unit) const
{
    int start = m_position + m_normal;
    for (int u = 0; u < unit; ++u) {
        start += m_color[u];
    }
    return start;
}

int oxAttributes::tcoordStart(int unit) const
{
    int start = colorStart(MAX_COLORS);
    for (int u = 0; u < unit; ++u) {
        start += m_tcoord[u];
    }
    return start;
}

int oxAttributes::tangentStart() const
{
    return tcoordStart(MAX_TCOORDS);
}

int oxAttributes::GetChannelQuantity() const
{
    return tangentStart() + m_tangent + m_psize;
}

int oxAttributes::GetPositionOffset() const
{
    return offsetIfPresent(m_position, 0);
}

int oxAttributes::GetNormalOffset() const
{
    return offsetIfPresent(m_normal, m_position);
}

int oxAttributes::GetColorOffset(int unit) const
{
    return validColorUnit(unit) ? offsetIfPresent(m_color[unit], colorStart(unit)) : -1;
}

int oxAttributes::GetTCoordOffset(int unit) const
{
    return validTCoordUnit(unit) ? offsetIfPresent(m_tcoord[unit], tcoordStart(unit)) : -1;
}

int oxAttributes::GetTangentOffset() const
{
    return offsetIfPresent(m_tangent, tangentStart());
}

int oxAttributes::GetPSizeOffset() const
{
    return offsetIfPresent(m_psize, tangentStart() + m_tangent);
}

bool oxAttributes::Matches(const oxAttributes& other, bool position, bool normal, bool color, bool tcoord,
                           bool tangent, bool psize) const
{
    if (position && m_position != other.m_position) {
        return false;
    }
    if (normal && m_normal != other.m_normal) {
        return false;
    }
    if (color) {
        for (int u = 0; u < MAX_COLORS; ++u) {
            if (m_color[u] != other.m_color[u]) {
                return false;
            }
        }
    }
    if (tcoord) {
        for (int u = 0; u < MAX_TCOORDS; ++u) {
            if (m_tcoord[u] != other.m_tcoord[u]) {
                return false;
            }
        }
    }
    if (tangent && m_tangent != other.m_tangent) {
        return false;
    }
    return !(psize && m_psize != other.m_psize);
}

bool oxAttributes::operator==(const oxAttributes& other) const
{
    return Matches(other, true, true, true, true, true, true);
}

void oxAttributes::toCounts(std::int32_t* counts) const
{
    int k = 0;
    counts[k++] = m_position;
    counts[k++] = m_normal;
    for (int c : m_color) {
        counts[k++] = c;
    }
    for (int c : m_tcoord) {
        counts[k++] = c;
    }
    counts[k++] = m_tangent;
    counts[k++] = m_psize;
}

bool oxAttributes::Save(oxBaseStream& stream) const
{
    std::int32_t counts[COUNT_QUANTITY];
    toCounts(counts);
    return stream.writele(COUNT_QUANTITY, sizeof(std::int32_t), counts);
}

bool oxAttributes::Load(oxBaseStream& stream)
{
    std::int32_t counts[COUNT_QUANTITY];
    if (!stream.readle(COUNT_QUANTITY, sizeof(std::int32_t), counts)) {
        return false;
    }
    // Rebuild through the setters, which ignore invalid counts; any difference with what was read
    // then reveals an invalid count.
    oxAttributes loaded;
    int k = 0;
    loaded.SetPositionChannels(counts[k++]);
    loaded.SetNormalChannels(counts[k++]);
    for (int u = 0; u < MAX_COLORS; ++u) {
        loaded.SetColorChannels(u, counts[k++]);
    }
    for (int u = 0; u < MAX_TCOORDS; ++u) {
        loaded.SetTCoordChannels(u, counts[k++]);
    }
    loaded.SetTangentChannels(counts[k++]);
    loaded.SetPSizeChannels(counts[k++]);

    std::int32_t accepted[COUNT_QUANTITY];
    loaded.toCounts(accepted);
    if (!std::equal(counts, counts + COUNT_QUANTITY, accepted)) {
        return false;
    }
    *this = loaded;
    return true;
}

}  // namespace ox
