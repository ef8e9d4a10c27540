#pragma once

namespace ox {

/// Registers the factories of the persistent scene-graph classes (oxVertexBuffer,
/// oxIndexBuffer, oxTriMesh, oxGeometry, oxNode, oxGenericGeometry) under their type names, so
/// that oxLoadObject can rebuild them. Nothing is registered automatically; call this from the
/// start-up of a library or application that loads scene files. Idempotent, thread-safe.
void oxRegisterSceneGraphFactories();

/// Removes the factories registered by oxRegisterSceneGraphFactories.
void oxUnregisterSceneGraphFactories();

}  // namespace ox
