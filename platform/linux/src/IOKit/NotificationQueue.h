#pragma once

#include "RegistryObject.h"
#include "RunLoop.h"

#include <IOKit/IOTypes.h>

#include <cstdint>
#include <deque>
#include <functional>

namespace LinuxPlatform {

class NotificationQueue;

/// One callback that is due, complete in itself: it is called without any lock.
struct Delivery {
    /// The iterator or service that the callback is about.
    std::shared_ptr<RegistryObject> argument;
    std::function<void(io_object_t argument)> call;
};

/// What a client has registered with a port. Its messages die with it.
class Notification {
public:
    explicit Notification(std::shared_ptr<NotificationQueue> queue) : m_queue(std::move(queue)) {}
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    virtual ~Notification();

    virtual Delivery Prepare(std::uint32_t messageType) = 0;

protected:
    void Post(std::uint32_t messageType);

private:
    const std::shared_ptr<NotificationQueue> m_queue;
};

/// The messages of a notification port, first come, first served. Shared by the port, its run-loop source and
/// its notifications, for any of them may go first. Used with the server's lock held.
class NotificationQueue {
public:
    bool IsUsable() const { return m_wakeUp.IsOpen(); }
    /// Readable while messages wait.
    int Descriptor() const { return m_wakeUp.Descriptor(); }

    void Post(Notification& from, std::uint32_t messageType);
    void Forget(const Notification& from);
    /// False when nothing waits.
    bool Take(Delivery& delivery);
    /// Drops everything, now and from now on.
    void Close();

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
