// oxMeshLib: geometry processing on point clouds and triangle meshes.
//
// Umbrella header: includes every public header of the library and of the platform
// types it works on (math, scene graph, system and add-on types). `#include
// <oxMeshLib.h>` is all a host needs.
#pragma once

// Platform: math
#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4Vector2.h"
#include "Wm4/Wm4Vector3.h"
#include "Wm4/Wm4Vector4.h"
#include "Wm4/Wm4Matrix3.h"
#include "Wm4/Wm4Matrix4.h"
#include "Wm4/Wm4ColorRGB.h"
#include "Wm4/Wm4Eigen.h"

// Platform: system and add-ons
#include "system/oxTimer.h"
#include "system/oxMutex.h"
#include "system/oxProgressNotifierInterface.h"
#include "system/oxProgressMonitorable.h"
#include "system/oxLibInitCounter.h"
#include "addons/oxBBox.h"

// Platform: scene graph
#include "scenegraph/oxObject.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxVertexBuffer.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxStandardMesh.h"
#include "scenegraph/oxMeshUtils.h"

// The library
#include "oxMeshLibVersion.h"
#include "oxMeshLibInit.h"
#include "oxHashTbl.h"
#include "oxPointSetProcessing.h"
#include "oxPointSetQuery.h"
#include "oxPointSetSurface.h"
#include "oxAPSSSurface.h"
#include "oxRIMLSSurface.h"
#include "oxSurfacePolygonizer.h"
#include "oxRegularGridSurfaceMesher.h"
#include "oxMeshProperties.h"
#include "oxMeshProcessing.h"
