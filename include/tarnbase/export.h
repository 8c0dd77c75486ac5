/* SPDX-License-Identifier: Apache-2.0 */
/* Symbol visibility and linkage of the public interface. */
#ifndef TARNBASE_EXPORT_H
#define TARNBASE_EXPORT_H

#if defined(__GNUC__)
#define TARNBASE_API __attribute__((visibility("default")))
#define TARNBASE_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define TARNBASE_API
#define TARNBASE_PRINTF(format_index, first_argument)
#endif

#ifdef __cplusplus
#define TARNBASE_BEGIN extern "C" {
#define TARNBASE_END }
#else
#define TARNBASE_BEGIN
#define TARNBASE_END
#endif

#endif
