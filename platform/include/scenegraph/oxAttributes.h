#pragma once

#include <cstdint>

namespace ox {

class oxBaseStream;

/// Description of a vertex layout: how many float channels each attribute kind uses. A vertex
/// record stores, in this order: position, normal, colour units 0..3, texture-coordinate units
/// 0..7, tangent, point size. Absent kinds take no space. The default layout is empty.
class oxAttributes {
public:
    static constexpr int MAX_COLORS = 4;
    static constexpr int MAX_TCOORDS = 8;

    oxAttributes();

    /// Sets the position channels: 0 or 3. Other values are ignored (layout unchanged).
    void SetPositionChannels(int channels);
    /// Sets the normal channels: 0 or 3. Other values are ignored.
    void SetNormalChannels(int channels);
    /// Sets the colour channels of `unit` (0..3): 0, 3 or 4. Invalid units or values are ignored.
    void SetColorChannels(int unit, int channels);
    /// Sets the texture-coordinate channels of `unit` (0..7): 0..4. Invalid input is ignored.
    void SetTCoordChannels(int unit, int channels);
    /// Sets the tangent channels: 0 or 3. Other values are ignored.
    void SetTangentChannels(int channels);
    /// Sets the point-size channels: 0 or 1. Other values are ignored.
    void SetPSizeChannels(int channels);

    // Channel counts per kind (0 when absent).
    int GetPositionChannels() const { return m_position; }
    int GetNormalChannels() const { return m_normal; }
    /// Channels of colour `unit`; 0 for an invalid unit.
    int GetColorChannels(int unit) const { return validColorUnit(unit) ? m_color[unit] : 0; }
    /// Channels of texture-coordinate `unit`; 0 for an invalid unit.
    int GetTCoordChannels(int unit) const { return validTCoordUnit(unit) ? m_tcoord[unit] : 0; }
    int GetTangentChannels() const { return m_tangent; }
    int GetPSizeChannels() const { return m_psize; }

    // True when the kind (or unit) has channels.
    bool HasPosition() const { return m_position > 0; }
    bool HasNormal() const { return m_normal > 0; }
    bool HasColor(int unit) const { return GetColorChannels(unit) > 0; }
    bool HasTCoord(int unit) const { return GetTCoordChannels(unit) > 0; }
    bool HasTangent() const { return m_tangent > 0; }
    bool HasPSize() const { return m_psize > 0; }

    /// Number of colour units (4).
    static int GetMaxColors() { return MAX_COLORS; }
    /// Number of texture-coordinate units (8).
    static int GetMaxTCoords() { return MAX_TCOORDS; }

    /// Floats per vertex record (the stride of a vertex buffer, in floats).
    int GetChannelQuantity() const;

    /// Float offset of the position in a vertex record (0), or -1 when absent.
    int GetPositionOffset() const;
    /// Float offset of the normal, or -1 when absent.
    int GetNormalOffset() const;
    /// Float offset of colour `unit`, or -1 when absent or the unit is invalid.
    int GetColorOffset(int unit) const;
    /// Float offset of texture-coordinate `unit`, or -1 when absent or the unit is invalid.
    int GetTCoordOffset(int unit) const;
    /// Float offset of the tangent, or -1 when absent.
    int GetTangentOffset() const;
    /// Float offset of the point size, or -1 when absent.
    int GetPSizeOffset() const;

    /// True when, for every kind whose flag is set, both layouts have the same channel counts
    /// (all units for colours and texture coordinates). Kinds whose flag is clear are ignored.
    bool Matches(const oxAttributes& other, bool position, bool normal, bool color, bool tcoord,
                 bool tangent = false, bool psize = false) const;

    /// True when every channel count is equal.
    bool operator==(const oxAttributes& other) const;
    bool operator!=(const oxAttributes& other) const { return !(*this == other); }

    /// Writes the channel counts. Returns false when a write fails.
    bool Save(oxBaseStream& stream) const;
    /// Reads channel counts written by Save. Returns false, layout unchanged, on a short stream
    /// or a count out of range.
    bool Load(oxBaseStream& stream);

private:
    static bool validColorUnit(int unit) { return unit >= 0 && unit < MAX_COLORS; }
    static bool validTCoordUnit(int unit) { return unit >= 0 && unit < MAX_TCOORDS; }

    /// Offset of a kind that starts `before` floats into the record, -1 when it has no channels.
    static int offsetIfPresent(int channels, int before) { return channels > 0 ? before : -1; }
    /// Number of channel counts of a layout (the persisted form).
    static constexpr int COUNT_QUANTITY = 4 + MAX_COLORS + MAX_TCOORDS;
    /// Every channel count in record order: position, normal, colours, tcoords, tangent, psize.
    void toCounts(std::int32_t* counts) const;
    int colorStart(int unit) const;
    int tcoordStart(int unit) const;
    int tangentStart() const;

    int m_position = 0;
    int m_normal = 0;
    int m_color[MAX_COLORS];
    int m_tcoord[MAX_TCOORDS];
    int m_tangent = 0;
    int m_psize = 0;
};

}  // namespace ox
