/* SPDX-License-Identifier: Apache-2.0 */
// A run with the names of its values, for the runtime's operations that write text and XML. It is
// passed in pieces, for whose names there is space on the stack.
#ifndef TARNBASE_OBJECT_LABELLED_RUN_H
#define TARNBASE_OBJECT_LABELLED_RUN_H

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "frame/schema.h"
#include "tarnbase/runs.h"

namespace tarnbase::object {

inline constexpr std::uint32_t longest_piece = 32;

// Names of a run's values, by their number in the run.
struct FieldLabels {
    const Field &first;
    kel_run_label operator()(std::uint32_t index) const {
        return {(&first)[index].name, (&first)[index].name_length};
    }
};

// All elements of an array have its name in XML.
struct ArrayLabels {
    const Field &array;
    kel_run_label operator()(std::uint32_t) const { return {array.name, array.name_length}; }
};

// "name[index]" of an array's element in text; a longer name than 64 characters is cut. The texts
// of a piece are kept until the next one.
class ElementLabels {
 public:
    explicit ElementLabels(const Field &array) : array_(array) {}
    kel_run_label operator()(std::uint32_t index) {
        std::array<char, longest_name + sizeof "[4294967295]"> &text =
            texts_[index % longest_piece];
        char *at =
            std::copy_n(array_.name, std::min(array_.name_length, longest_name), text.data());
        *at++ = '[';
        at = std::to_chars(at, text.data() + text.size(), index).ptr;
        *at++ = ']';
        *at = '\0';
        return {text.data(), static_cast<std::uint32_t>(at - text.data())};
    }

 private:
    static constexpr std::uint32_t longest_name = 64;

    const Field &array_;
    std::array<std::array<char, longest_name + sizeof "[4294967295]">, longest_piece> texts_;
};

// Calls `write(run)` for each piece of the run that begins with `first`, or of the elements of an
// array; `place` is where its values are, or null.
template <typename Labels, typename Write>
void each_piece(const Field &first, const void *place, Labels &&labels, Write &&write) {
    const std::uint32_t count = first.kind == FieldKind::array ? first.elements : first.run;
    const auto *values = static_cast<const char *>(place);
    std::array<kel_run_label, longest_piece> names;
    for (std::uint32_t done = 0; done < count;) {
        const std::uint32_t some = std::min(count - done, longest_piece);
        for (std::uint32_t i = 0; i < some; ++i) names[i] = labels(done + i);
        write(kel_labelled_run{names.data(), values, some});
        done += some;
        if (values != nullptr) values += std::size_t{some} * facts_of(first.kind).size;
    }
}

}  // namespace tarnbase::object

#endif
