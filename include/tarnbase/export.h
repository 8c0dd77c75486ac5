/* SPDX-License-Identifier: Apache-2.0 */
/* Symbol visibility and linkage of the public interface. */
#ifndef TARNBASE_EXPORT_H
#define TARNBASE_EXPORT_H

#if defined(__GNUC__)
/* Marks an exported name, and a program's definition that replaces one. */
#define TARNBASE_API __attribute__((visibility("default")))
/* Lets the compiler check a format string: its position and its first argument's, from 1. */
#define TARNBASE_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define TARNBASE_API
#define TARNBASE_PRINTF(format_index, first_argument)
#endif

#ifdef __cplusplus
#define TARNBASE_BEGIN extern "C" { /* begins C declarations, in C++ too */
#define TARNBASE_END }              /* ends C declarations */
#else
#define TARNBASE_BEGIN
#define TARNBASE_END
#endif

#endif
