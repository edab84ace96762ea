// SPDX-License-Identifier: GPL-3.0-or-later
// Callbacks that come from the event loop, and none from it once their owner is gone.
#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <functional>
#include <memory>
#include <utility>

namespace vistrel::loader {

// A member of the object that the callbacks belong to. Thread of the event loop.
class Later {
  public:
    Later() = default;
    Later(const Later&) = delete;
    Later& operator=(const Later&) = delete;

    // `callback` may destroy the owner.
    void Post(std::function<void()> callback) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [owner = std::weak_ptr<char>(owner_), callback = std::move(callback)] {
                if (!owner.expired()) callback();
            },
            Qt::QueuedConnection);
    }

    // Nothing that was posted runs any more, nor what is still to be posted.
    void Stop() { owner_.reset(); }

  private:
    std::shared_ptr<char> owner_ = std::make_shared<char>();
};

}  // namespace vistrel::loader
