// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/MakeConverter.h"

#include "tools/converter/ServicePool.h"

using namespace zr;

namespace {

/// A document that ends its browser each time gets an error in the end; no other one does.
constexpr int tries = 3;

} // namespace

std::unique_ptr<Converter> zr::makeConverter(const ServeOptions &options) {
    return std::make_unique<ServicePool>(
        ServicePool::Options{.instances = options.instances, .tries = tries});
}
