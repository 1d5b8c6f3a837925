// Ctrl+C, a closed console and the like, for a verb that has something to put right first.
#pragma once

namespace simctl {

class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // Waits so many milliseconds for it; whether it came.
    bool Await(unsigned milliseconds) const;
};

} // namespace simctl
