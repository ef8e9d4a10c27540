#pragma once

namespace ox {

class oxVertexBuffer;

/// A hardware renderer that keeps device copies of vertex buffers.
class oxHardwareRendererInterface {
public:
    virtual ~oxHardwareRendererInterface();

    /// Uploads the current content of `buffer` after it was edited in place.
    virtual void refreshVertexBuffer(oxVertexBuffer* buffer) = 0;
};

/// Access to the renderer of the running application.
struct oxRendererInterface {
    /// The current hardware renderer; always null in this build, which has no renderer, so
    /// callers skip the refresh.
    static oxHardwareRendererInterface* GetHardwareRenderer();
};

}  // namespace ox
