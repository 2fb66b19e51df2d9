#pragma once

#include "RegistryObject.h"
#include "RunLoop.h"

#include <IOKit/IOTypes.h>

#include <cstdint>
#include <deque>
#include <functional>

namespace LinuxPlatform {

class NotificationQueue;

/// One callback that is due, with everything that it needs, because it is called without any lock.
struct Delivery {
    /// The iterator or service that the callback is about.
    std::shared_ptr<RegistryObject> argument;
    std::function<void(io_object_t argument)> call;
};

/// A client's registration with a port. Its messages are dropped when it is destroyed.
class Notification {
public:
    explicit Notification(std::shared_ptr<NotificationQueue> queue) : m_queue(std::move(queue)) {}
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    virtual ~Notification();

    virtual Delivery prepare(std::uint32_t messageType) = 0;

protected:
    void post(std::uint32_t messageType);

private:
    const std::shared_ptr<NotificationQueue> m_queue;
};

/// The messages of a notification port, first in, first out. Shared by the port, its run-loop source and its
/// notifications, any of which may be destroyed first. Used with the server's lock held.
class NotificationQueue {
public:
    bool isUsable() const { return m_wakeUp.isOpen(); }
    /// Readable while messages wait.
    int descriptor() const { return m_wakeUp.descriptor(); }

    void post(Notification& from, std::uint32_t messageType);
    /// Drops the waiting messages of this notification.
    void cancel(const Notification& from);
    /// False if nothing waits.
    bool take(Delivery& delivery);
    /// Drops everything, now and from now on.
    void close();

private:
    struct Message {
        Notification* from;
        std::uint32_t type;
    };

    WakeUp m_wakeUp;
    bool m_isClosed = false;
    std::deque<Message> m_messages;
};

} // namespace LinuxPlatform
