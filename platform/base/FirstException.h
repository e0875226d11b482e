// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

namespace zr {

/// Takes steps that must all be taken, whatever some of them throw; the first exception is thrown in the end.
class FirstException {
public:
    template <typename Step>
    void guard(Step step) {
        try {
            step();
        } catch (...) {
            if (!m_first)
                m_first = std::current_exception();
        }
    }
    void rethrow() const {
        if (m_first)
            std::rethrow_exception(m_first);
    }

private:
    std::exception_ptr m_first;
};

} // namespace zr
