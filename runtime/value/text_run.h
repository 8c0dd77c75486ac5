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

// The end of the text of those values from the first on whose longest text fits in any case.
// `count` gets how many they are.
template <typename T, typename Append>
char *append_values(const RunPlace &place, const kel_labelled_run &run, Frame frame, Append append,
                    std::uint32_t &count) {
    const kel_labelled_run values = run;  // stores of characters may alias `run`
    const char *const end = place.buffer + place.remaining;
    char *at = place.buffer;
    std::uint32_t i = 0;
    for (; i < values.count; ++i) {
        const kel_run_label &label = values.labels[i];
        const std::uint64_t longest = frame.fixed + frame.names * label.length + longest_number<T>;
        if (longest > static_cast<std::uint64_t>(end - at)) break;
        at = append(at, label, value_at<T>(values, i));
    }
    count = i;
    return at;
}

// Writes one value after the other: with `append(at, label, value)` if the longest text fits, else
// with `write(at, label, value, remaining)`, which checks the space.
template <typename T, typename Append, typename Write>
std::uint32_t write_run(const RunPlace &place, const kel_labelled_run &run, Frame frame,
                        Append append, Write write) {
    if (*place.err != 0) return 0;
    std::uint32_t i = 0;
    const char *const end = append_values<T>(place, run, frame, append, i);
    auto used = static_cast<std::uint32_t>(end - place.buffer);
    for (; i < run.count && *place.err == 0; ++i) {
        used +=
            write(place.buffer + used, run.labels[i], value_at<T>(run, i), place.remaining - used);
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
