#include "scenegraph/oxRendererInterface.h"

namespace ox {

oxHardwareRendererInterface::~oxHardwareRendererInterface() = default;

oxHardwareRendererInterface* oxRendererInterface::GetHardwareRenderer()
{
    return nullptr;
}

}  // namespace ox
