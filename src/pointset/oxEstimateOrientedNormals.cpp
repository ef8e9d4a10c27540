// Normals for a cloud that has none: local plane fits, then one consistent orientation per
// connected part.
#include <algorithm>

#include "oxPointSetProcessing.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxPointSetProcessing {

namespace {

/// Forwards progress values mapped into [offset, offset + 0.5].
class tHalfProgress : public oxProgressNotifierInterface {
public:
    tHalfProgress(oxProgressNotifierInterface* target, float offset) : m_target(target), m_offset(offset) {}
    void notifyProgress(float value) override
    {
        if (m_target)
            m_target->notifyProgress(m_offset + 0.5f * (value >= 0.0f ? std::min(value, 1.0f) : 0.0f));
    }

private:
    oxProgressNotifierInterface* m_target;
    float m_offset;
};

}  // namespace

unsigned int EstimateOrientedNormals(oxVertexBuffer& cloud, unsigned int k,
                                     oxProgressNotifierInterface* notifier)
{
    const oxAttributes& layout = cloud.GetAttributes();
    if (!layout.HasNormal() || cloud.GetVertexQuantity() == 0)
        return 0;
    const unsigned int n = static_cast<unsigned int>(cloud.GetVertexQuantity());
    const unsigned int stride = static_cast<unsigned int>(cloud.GetChannelQuantity());
    float* positions = cloud.GetData() + layout.GetPositionOffset();
    float* normals = cloud.GetData() + layout.GetNormalOffset();
    for (unsigned int i = 0; i < n; ++i)
        cloud.Normal3(static_cast<int>(i)) = Wm4::Vector3<float>(0.0f, 0.0f, 0.0f);
    tHalfProgress estimating(notifier, 0.0f), orienting(notifier, 0.5f);
    EstimateNormals(positions, n, stride, normals, stride, k, &estimating);
    return OrientNormals(positions, n, stride, normals, stride, k, &orienting);
}

}  // namespace oxPointSetProcessing
}  // namespace ox
