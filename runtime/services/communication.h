/* SPDX-License-Identifier: Apache-2.0 */
// The two communication registries. Each keeps the handler that a library hands it,
// for whoever carries bundles between processes; the embedded runtime carries none.
#ifndef TARNBASE_RUNTIME_SERVICES_COMMUNICATION_H
#define TARNBASE_RUNTIME_SERVICES_COMMUNICATION_H

namespace tarn::runtime {

void *ridge_bundle_handler();
void *interface_bundle_handler();

}  // namespace tarn::runtime

#endif
