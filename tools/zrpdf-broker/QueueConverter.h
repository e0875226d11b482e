// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Queue/TaskQueueClient.h"
#include "tools/converter/Converter.h"
#include "tools/zrpdf-broker/BrokerOptions.h"

#include <chrono>
#include <memory>

namespace zr {

/// Has documents converted by the workers of a broker. A file is read here, since workers have others.
///
/// A task that is abandoned isn't waited for any more; a worker may do it all the same, until its time to live has passed.
class QueueConverter : public Converter {
public:
    struct Options {
        BrokerOptions broker;
        bool isUrgent = false;
        int instances = 1; ///< how many tasks are sent at once; others wait here
        /// How long a task may wait for a worker; its own time is added.
        std::chrono::milliseconds wait = std::chrono::minutes(10);
        /// How long the broker may be out of reach.
        std::chrono::milliseconds brokerLimit = std::chrono::seconds(60);
    };

    /// Raises NSInvalidArgumentException for options that can't be meant.
    explicit QueueConverter(const Options &options);
    /// Abandons what there is to do, and waits for handlers that are being called.
    ~QueueConverter() override;
    QueueConverter(const QueueConverter &) = delete;
    QueueConverter &operator=(const QueueConverter &) = delete;

    void convert(Task task, Handler handler) override;
    State state() const override;

private:
    class Core;
    const std::shared_ptr<Core> m_core;
};

} // namespace zr
