// The library's message stream: the mesher's stated lines go to std::cout by default, to a
// stream the host chose, or nowhere.
#include <gtest/gtest.h>

#include <sstream>

#include "oxMeshLibInit.h"
#include "oxMeshProcessing.h"
#include "support/CaptureStdout.h"
#include "support/Shapes.h"

namespace {

/// Runs a collapse the set-up refuses, so the library prints its one stated line.
void refuseOneMesh()
{
    oxtest::MeshPtr fin = oxtest::toMesh(oxtest::tetrahedronWithFin());
    ox::oxMeshProcessing::tQuadricSimplifyOptions options;
    ox::oxMeshProcessing::QuadricSimplify(*fin, options);
}

const char* const kLine = "Error while initializing edge collapse: input mesh is not manifold\n";

TEST(MessageStream, DefaultHostStreamAndSilence)
{
    // Oracle: the stated set-up line, word for word, wherever it is sent.
    ASSERT_EQ(ox::oxMeshLib::GetMessageStream(), &std::cout);
    EXPECT_EQ(oxtest::capturedStdout(refuseOneMesh), kLine);

    std::ostringstream host;
    EXPECT_EQ(ox::oxMeshLib::SetMessageStream(&host), &std::cout);
    EXPECT_EQ(oxtest::capturedStdout(refuseOneMesh), "");
    EXPECT_EQ(host.str(), kLine);

    EXPECT_EQ(ox::oxMeshLib::SetMessageStream(nullptr), &host);
    EXPECT_EQ(oxtest::capturedStdout(refuseOneMesh), "");
    EXPECT_EQ(host.str(), kLine);

    ox::oxMeshLib::SetMessageStream(&std::cout);
    EXPECT_EQ(oxtest::capturedStdout(refuseOneMesh), kLine);
}

}  // namespace
