# SPDX-License-Identifier: Apache-2.0
# The runtime's value half: what works on values, buffers and documents and
# needs of the store only its text registry and its errors. Uses libxml2.
set(TARNBASE_RUNTIME_VALUES
  trace/module.cpp
  trace/thread.cpp
  trace/trace.cpp
  value/descriptor.cpp
  value/header.cpp
  value/int32.cpp
  value/int64.cpp
  value/ip_address.cpp
  value/ip_address_assign.cpp
  value/kel_boolean.cpp
  value/kel_vstring.cpp
  value/kel_vstring_assign.cpp
  value/super_fast_hash.cpp
  value/u_int16.cpp
  value/u_int32.cpp
  value/u_int64.cpp
  value/u_int8.cpp
  value/usage.cpp
  variant/adjust.cpp
  variant/domain.cpp
  variant/instance.cpp
  wire/instance.cpp
  wire/message_header.cpp
  text/print.cpp
  text/quoted.cpp
  text/utf8.cpp
  xml/document.cpp
  xml/each.cpp
  xml/element.cpp
  xml/escape.cpp
  xml/search.cpp
  xml/siblings.cpp
  xml/tag.cpp)
list(TRANSFORM TARNBASE_RUNTIME_VALUES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
