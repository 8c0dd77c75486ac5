/* SPDX-License-Identifier: Apache-2.0 */
// Runs of integers as text and as XML: the results and effects are those of the type's operation
// for one value after the other. A value for which the buffer has space in any case is appended
// without counting each piece of its text.
#ifndef TARNBASE_RUNTIME_VALUE_TEXT_RUN_H
#define TARNBASE_RUNTIME_VALUE_TEXT_RUN_H

#include <cstdint>

#include "runtime/text/append.h"
#include "runtime/value/scalar.h"
#include "tarnbase/runs.h"

namespace tarnbase::runtime::scalar {

// Where a run is written.
struct RunPlace {
    kel_handle *handle;
    char *buffer;
    std::uint32_t remaining;
    std::uint32_t *err;
};

template <typename T>
T value_at(const kel_labelled_run &run, std::uint32_t index) {
    return run.values == nullptr ? T{0} : static_cast<const T *>(run.values)[index];
}

// The text of a value besides its digits.
struct Frame {
    std::uint64_t fixed;
    std::uint64_t names;  // how often it has the value's name
};

// Writes one value after the other: with `append(at, label, value)` if the longest text fits, else
// with `write(at, label, value, remaining)`, which checks the space.
template <typename T, typename Append, typename Write>
std::uint32_t write_run(const RunPlace &place, const kel_labelled_run &run, Frame frame,
                        Append append, Write write) {
    std::uint32_t used = 0;
    for (std::uint32_t i = 0; i < run.count && *place.err == 0; ++i) {
        const kel_run_label &label = run.labels[i];
        const T value = value_at<T>(run, i);
        char *const at = place.buffer + used;
        const std::uint32_t remaining = place.remaining - used;
        if (frame.fixed + frame.names * label.length + longest_number<T> <= remaining) {
            used += static_cast<std::uint32_t>(append(at, label, value) - at);
        } else {
            used += write(at, label, value, remaining);
        }
    }
    return used;
}

template <typename T>
std::uint32_t print_run(const RunPlace &place, std::uint32_t indent, const kel_labelled_run &run) {
    return write_run<T>(
        place, run, {std::uint64_t{indent} + 3, 1},
        [indent](char *at, const kel_run_label &label, T value) {
            at = append(append_blanks(at, indent), label.name, label.length);
            return append(append_number(append(at, ": "), value), "\n");
        },
        [&place, indent](char *at, const kel_run_label &label, T value, std::uint32_t remaining) {
            return print(place.handle, at, indent, label.name, value, remaining, place.err);
        });
}

template <typename T>
std::uint32_t to_xml_run(const RunPlace &place, const kel_labelled_run &run) {
    return write_run<T>(
        place, run, {6, 2},
        [](char *at, const kel_run_label &label, T value) {
            at = append(append(append(at, "<"), label.name, label.length), ">");
            at = append(append_number(at, value), "</");
            return append(append(at, label.name, label.length), ">\n");
        },
        [&place](char *at, const kel_run_label &label, T value, std::uint32_t remaining) {
            return to_xml({place.handle, label.name, at, remaining, 0, place.err}, value);
        });
}

}  // namespace tarnbase::runtime::scalar

#endif
