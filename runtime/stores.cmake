# SPDX-License-Identifier: Apache-2.0
# The runtime's store half: memory, transactions, indexes and what is kept in them.
set(TARNBASE_RUNTIME_STORES
  arena/allocator.cpp
  arena/page_set.cpp
  arena/region.cpp
  store/communication.cpp
  store/descriptor.cpp
  store/error_text.cpp
  store/embedded.cpp
  store/file.cpp
  store/handle.cpp
  store/hooks.cpp
  store/keyed_store.cpp
  store/last_error.cpp
  store/module_list.cpp
  store/named_entry.cpp
  store/store.cpp
  store/table_list.cpp
  store/transaction.cpp
  store/type_map.cpp
  store/undo_log.cpp
  index/key_index.cpp
  index/table_id_tree.cpp
  index/tree.cpp
  mapping/address_map.cpp
  mapping/object_data.cpp
  mapping/object_identity.cpp
  mapping/text_owner.cpp
  tenant/counters.cpp
  replication/attachment.cpp
  replication/destroy.cpp
  replication/engine.cpp
  replication/read_cache.cpp
  replication/reader.cpp
  replication/ring.cpp)
list(TRANSFORM TARNBASE_RUNTIME_STORES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
