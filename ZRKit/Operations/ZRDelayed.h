// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <functional>
#include <memory>

/// Runs one block after a delay; asking again before it has run starts the delay anew with the new block, so
/// that a burst of requests ends in one call, that of the last request.
///
///     auto delayed = std::make_shared<ZRDelayed>();
///     delayed->performAfter(0.3, [] { search(); });
///
/// Make it with std::make_shared; it is kept alive while a block waits. The block runs on the run loop of the thread
/// that asked, which must run that loop. Everything happens under the object's own lock (NSObjectLock), also the block
/// itself; any thread may ask, from inside the block too.
class ZRDelayed : public QObject, public std::enable_shared_from_this<ZRDelayed> {
    Q_OBJECT

public:
    using Block = std::function<void()>;

    ZRDelayed() = default;
    /// Calls cancel().
    ~ZRDelayed() override;

    /// Gives up what waits and lets this block wait for the delay (in seconds; negative is none). A nil block
    /// does nothing then. A request that the running block makes itself comes to nothing: what waits is
    /// cleared when the block ends.
    void performAfter(double delay, Block block);

    /// Calls the waiting block, if there is one, and clears what waits; the run loop does so after the delay.
    Q_INVOKABLE void executeBlock();

    /// Gives up what waits. Only the delays that the calling thread asked for are withdrawn: one of another
    /// thread still ends, and then calls what waits by that time.
    void cancel();

private:
    void withdraw();

    Block m_block;
};
