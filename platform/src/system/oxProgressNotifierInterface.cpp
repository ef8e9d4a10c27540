// Out-of-line destructor: anchors the interface's vtable in the platform library.
#include "system/oxProgressNotifierInterface.h"

namespace ox {

oxProgressNotifierInterface::~oxProgressNotifierInterface() = default;

}  // namespace ox
