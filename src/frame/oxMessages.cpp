// The library's message stream: one process-wide pointer, std::cout by default.
#include "frame/oxMessages.h"

#include <iostream>

#include "oxMeshLibInit.h"

namespace ox {

namespace {

std::ostream* g_messageStream = &std::cout;

/// A stream without a buffer: every write fails silently.
std::ostream& droppedMessages()
{
    static std::ostream dropped(nullptr);
    dropped.clear();
    return dropped;
}

}  // namespace

std::ostream* oxMeshLib::SetMessageStream(std::ostream* stream)
{
    std::ostream* previous = g_messageStream;
    g_messageStream = stream;
    return previous;
}

std::ostream* oxMeshLib::GetMessageStream()
{
    return g_messageStream;
}

std::ostream& detail::messages()
{
    return g_messageStream ? *g_messageStream : droppedMessages();
}

}  // namespace ox
