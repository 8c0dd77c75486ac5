// SPDX-License-Identifier: Apache-2.0
/// @file
/// Passes a caller's function through a C call, which exceptions must not cross.
#ifndef TARNBASE_TARN_CALLBACK_HPP
#define TARNBASE_TARN_CALLBACK_HPP

#include <cstdint>
#include <exception>
#include <type_traits>

#include "tarnbase/tarn/error.hpp"

namespace tarn {

/// Refers to a function that returns void, or whether to continue. A C call takes `run` of the
/// item's type and the callback's address:
///
///     tarn::callback visit(function);
///     kel_xml_for_each(document, path, visit.run<kel_xml_document *>, &visit, nullptr);
///     visit.finish();
///
/// Lifetime: the function's.
template <typename Function>
class callback {
 public:
    explicit callback(Function &function) : function_(function) {}

    /// Calls the function of `context`. Returns: nonzero to end the walk.
    template <typename Item>
    static std::uint32_t run(Item item, void *context) {
        auto &self = *static_cast<callback *>(context);
#if TARN_EXCEPTIONS
        try {
            return self.call(item);
        } catch (...) {
            self.thrown_ = std::current_exception();
            return 1;
        }
#else
        return self.call(item);
#endif
    }

    /// Rethrows what the function threw.
    void finish() const {
#if TARN_EXCEPTIONS
        if (thrown_) std::rethrow_exception(thrown_);
#endif
    }

 private:
    template <typename Item>
    std::uint32_t call(Item &item) {
        if constexpr (std::is_void_v<std::invoke_result_t<Function &, Item>>) {
            function_(item);
            return 0;
        } else {
            return function_(item) ? 0 : 1;
        }
    }

    Function &function_;
#if TARN_EXCEPTIONS
    std::exception_ptr thrown_;
#endif
};

}  // namespace tarn

#endif
