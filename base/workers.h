// SPDX-License-Identifier: GPL-3.0-or-later
// Threads that wait for work and share it.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace vistrel {

// Runs pieces of work on several threads, of which the caller is one. One object is for one caller
// at a time.
class Workers {
  public:
    // As many threads as `threads` says, the caller included; 0: one per core. Where the system
    // refuses some of them, the others do the work. Throws std::bad_alloc.
    explicit Workers(int threads = 0);
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    // How many threads there are, the caller included.
    [[nodiscard]] int Count() const;

    // `piece` is 0..pieces-1 and `worker` 0..Count()-1; a worker does one piece at a time.
    using Work = std::function<void(std::size_t piece, int worker)>;

    // Returns when every piece is done. The pieces begin in order. When one throws, those that have
    // not begun are left out and the first exception is thrown here.
    void Run(std::size_t pieces, const Work& work);

  private:
    class Crew;
    std::unique_ptr<Crew> crew_;
};

}  // namespace vistrel
