/* SPDX-License-Identifier: Apache-2.0 */
// The handlers of the two communication registries. They are for a program that transfers
// bundles between processes; the embedded runtime doesn't.
#ifndef TARNBASE_RUNTIME_SERVICES_COMMUNICATION_H
#define TARNBASE_RUNTIME_SERVICES_COMMUNICATION_H

namespace tarnbase::runtime {

// Null without a handler.
void *ridge_bundle_handler();
void *interface_bundle_handler();

}  // namespace tarnbase::runtime

#endif
