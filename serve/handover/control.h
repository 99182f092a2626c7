// What keeper and front say to each other over a pair of sockets that keeps messages apart.
#pragma once

#include <optional>
#include <string>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

constexpr int kFrontChannel = 3;             // the front's end of the channel to the keeper
constexpr const char* kFrontRole = "front";  // the word that starts the executable as one

enum class ControlKind : char {
    // From the keeper to the front.
    kSettings = 's',   // with a file in memory that holds packed `FrontSettings`
    kListener = 'l',   // with a listening socket
    kCollector = 'c',  // with the connection to a collector that is ready
    kTrouble = 't',    // why there is no collector, as a sentence; empty: there will be one in a moment
    kFinish = 'f',     // answer what is being answered, and end
    // From the front to the keeper: nothing but the kind, since the front may be anybody's by now.
    kServing = 'S',
    kCollectorGone = 'G',  // or past its limit, or it wrote what no collector writes: end it, start another
    kIdle = 'I',           // for as long as the settings say
};

struct ControlMessage {
    ControlKind kind;
    std::string text;
    Descriptor descriptor;
};

/// False: the other side has gone, or its buffer is full.
bool sendControl(int channel, ControlKind kind, const std::string& text = "", int descriptor = -1);

struct ControlReading {
    std::optional<ControlMessage> message;
    bool hasEnded = false;
};
/// Does not wait. At most one descriptor is taken; a message that carries more, or is cut, ends the channel.
ControlReading receiveControl(int channel);

}  // namespace diskmgt::serve
