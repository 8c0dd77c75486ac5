/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from sample.tarn; changes belong there. */
/* The schema that the headers were made from. */
#ifndef TARNBASE_SCHEMA_H
#define TARNBASE_SCHEMA_H

/* Changes with everything that is made from the schema. */
#define TARNBASE_SCHEMA_DIGEST "67ffbfc49e7b581bd66510fc39d5aea2"

#endif
