// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/workers.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vistrel {

class Workers::Crew {
  public:
    explicit Crew(int helpers) {
        helpers_.reserve(static_cast<std::size_t>(helpers));
        try {
            for (int i = 0; i < helpers; ++i) {
                helpers_.emplace_back([this, worker = i + 1] { Help(worker); });
            }
        } catch (const std::exception&) {
            // Those that were started are enough.
        }
    }

    ~Crew() {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
        }
        begin_.notify_all();
        for (std::thread& helper : helpers_) helper.join();
    }

    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    [[nodiscard]] int Helpers() const { return static_cast<int>(helpers_.size()); }

    void Run(std::size_t pieces, const Work& work) {
        {
            const std::lock_guard lock(mutex_);
            work_ = &work;
            pieces_ = pieces;
            next_ = 0;
            busy_ = Helpers();
            ++round_;
        }
        begin_.notify_all();
        TakePieces(0);
        std::unique_lock lock(mutex_);
        done_.wait(lock, [this] { return busy_ == 0; });
        if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    }

  private:
    void Help(int worker) {
        std::size_t seen = 0;
        for (;;) {
            {
                std::unique_lock lock(mutex_);
                begin_.wait(lock, [&] { return ended_ || round_ != seen; });
                if (ended_) return;
                seen = round_;
            }
            TakePieces(worker);
            const std::lock_guard lock(mutex_);
            if (--busy_ == 0) done_.notify_one();
        }
    }

    void TakePieces(int worker) {
        try {
            for (std::size_t piece = next_++; piece < pieces_; piece = next_++) {
                (*work_)(piece, worker);
            }
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            next_ = pieces_;
        }
    }

    std::vector<std::thread> helpers_;   // constant after construction
    std::atomic<std::size_t> next_ = 0;  // the piece that nobody has begun

    std::mutex mutex_;
    std::condition_variable begin_;
    std::condition_variable done_;
    // Under the mutex; `work_` and `pieces_` stay while a round runs.
    const Work* work_ = nullptr;
    std::size_t pieces_ = 0;
    std::size_t round_ = 0;
    int busy_ = 0;  // helpers that have not ended this round
    bool ended_ = false;
    std::exception_ptr failure_;
};

Workers::Workers(int threads) {
    const int wanted =
        threads > 0 ? threads : static_cast<int>(std::thread::hardware_concurrency());
    crew_ = std::make_unique<Crew>(std::max(wanted, 1) - 1);
}

Workers::~Workers() = default;

int Workers::Count() const {
    return crew_->Helpers() + 1;
}

void Workers::Run(std::size_t pieces, const Work& work) {
    crew_->Run(pieces, work);
}

}  // namespace vistrel
