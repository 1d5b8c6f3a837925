// A topology recorded through the simulated suite and played back, with what fcoectl says of the one and of the other.
#pragma once

#include <string>
#include <vector>

#include "tests/reading/ReadingHost.h"

class Playback {
  public:
    using Json = ReadingHost::Json;

    Playback();

    ReadingHost& Host() { return m_host; }

    // What `fcoectl record` makes of the topology, which its modules show from the beginning. words: further ones.
    std::string Record(const std::string& topology, const std::string& words = "");
    // The command's document, what it wrote, and for a command that reads each list once the agent's log; its calls are
    // the first that the topology answers.
    Json Say(const std::string& topology, const std::string& words);

    // Whether the topology and what is recorded of it say the same to every command; tells what differs.
    void ExpectRecordedSame(const std::string& name, const std::string& topology,
                            const std::vector<std::string>& commands);

  private:
    void Simulate(const std::string& topology);

    ReadingHost m_host;
    unsigned m_shown = 0; // topologies
};

// All that read, but for `report`, whose data are theirs and which takes long.
std::vector<std::string> ReadingCommands();
