// oxMeshLib: geometry processing on point clouds and triangle meshes.
//
// Umbrella header: includes every public header of the library and of the platform
// types it works on (math, scene graph, system and add-on types). `#include
// <oxMeshLib.h>` is all a host needs.
#pragma once

// Platform: math
#include "Wm4/Wm4ColorRGB.h"
#include "Wm4/Wm4Eigen.h"
#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4Matrix4.h"
#include "Wm4/Wm4Vector2.h"
#include "Wm4/Wm4Vector3.h"
#include "Wm4/Wm4Vector4.h"

// Platform: system and add-ons
#include "addons/oxBBox.h"
#include "system/oxLibInitCounter.h"
#include "system/oxMutex.h"
#include "system/oxProgressMonitorable.h"
#include "system/oxProgressNotifierInterface.h"
#include "system/oxTimer.h"

// Platform: scene graph
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxMeshUtils.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxObject.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxStandardMesh.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

// The library
#include "oxAPSSSurface.h"
#include "oxHashTbl.h"
#include "oxMeshLibInit.h"
#include "oxMeshLibTypes.h"
#include "oxMeshLibVersion.h"
#include "oxMeshProcessing.h"
#include "oxMeshProperties.h"
#include "oxPointSetProcessing.h"
#include "oxPointSetQuery.h"
#include "oxPointSetSurface.h"
#include "oxRIMLSSurface.h"
#include "oxRegularGridSurfaceMesher.h"
#include "oxSurfacePolygonizer.h"
#include "oxSurfaceReconstruction.h"
