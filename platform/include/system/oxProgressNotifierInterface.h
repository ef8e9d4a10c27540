// Receiver of progress values, implemented by the host application.
#pragma once

namespace ox {

/// Abstract receiver of progress reports. Operations that take a pointer to
/// it accept null (no reporting).
class oxProgressNotifierInterface {
public:
    virtual ~oxProgressNotifierInterface();

    /// Receives the progress of the running operation, in 0..1.
    virtual void notifyProgress(float fValue) = 0;
};

}  // namespace ox
