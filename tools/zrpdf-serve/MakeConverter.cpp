// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/MakeConverter.h"

#include "tools/converter/ServicePool.h"
#include "tools/zrpdf-broker/QueueConverter.h"

using namespace zr;

namespace {

/// A document that ends its browser each time gets an error in the end; no other one does.
constexpr int tries = 3;

} // namespace

std::unique_ptr<Converter> zr::makeConverter(const ServeOptions &options) {
    if (!options.broker.brokers.isEmpty())
        return std::make_unique<QueueConverter>(
            QueueConverter::Options{.broker = options.broker, .instances = options.instances});
    return std::make_unique<ServicePool>(
        ServicePool::Options{.instances = options.instances, .tries = tries});
}
