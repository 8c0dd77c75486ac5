/* SPDX-License-Identifier: Apache-2.0 */
/* Symbol visibility and linkage of the public interface. */
#ifndef TARNBASE_EXPORT_H
#define TARNBASE_EXPORT_H

#if defined(__GNUC__)
/* What a library of tarnbase exports; also the name by which a program replaces it. */
#define TARNBASE_API __attribute__((visibility("default")))
/* Has the compiler check a format, by the places of it and of what it formats, from 1. */
#define TARNBASE_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define TARNBASE_API
#define TARNBASE_PRINTF(format_index, first_argument)
#endif

#ifdef __cplusplus
#define TARNBASE_BEGIN extern "C" { /* declarations of C begin, in C++ too */
#define TARNBASE_END }              /* declarations of C end */
#else
#define TARNBASE_BEGIN
#define TARNBASE_END
#endif

#endif
