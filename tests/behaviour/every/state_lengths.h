/* SPDX-License-Identifier: Apache-2.0 */
// The length of each structure's state block, in the order of the structures' list.
// Stored objects depend on it.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_STATE_LENGTHS_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_STATE_LENGTHS_H

#include <cstdint>

namespace tarn::test {

struct StateLength {
    const char *structure;
    std::uint32_t bytes;
};

inline constexpr StateLength state_lengths[] = {
    {"ravoClientInfoEntry_key", 4},
    {"st_ravoClientInfoEntry_op", 7},
    {"st_dot1xAuthConfigEntry_op", 8},
    {"st_dot1xAuthStatsEntry_op", 16},
    {"st_dot1xPaePortEntry_op", 2},
    {"st_dot1xPaePortEntryInit_op", 2},
    {"st_dot1xPaePortEntryReauth_op", 2},
    {"st_lum_credentials", 4},
    {"st_lumKeystorePasswordRecordEntry_op", 3},
    {"lumKeystorePasswordRecordEntry_new_key", 3},
    {"st_lumKeystorePasswordRecordEntry_new_op", 1},
    {"st_lumKeystorePacRecordEntry_op", 3},
    {"kel_timespec", 2},
    {"st_lumPacInfoEntry_op", 10},
    {"lumPacInfoEntry_new_key", 3},
    {"st_lumPacInfoEntry_new_op", 8},
    {"st_lumEnvironmentDataObjects_op", 13},
    {"st_lumEnvSecurityGroupNameEntry_op", 6},
    {"lumEnvSecurityGroupNameEntry_new_key", 2},
    {"st_lumEnvSecurityGroupNameEntry_new_op", 5},
    {"st_lumiAuthorizationEntry_op", 11},
    {"lumi_stats", 8},
    {"st_lumiEventsStatsObjects_op", 10},
    {"st_lumiIfDot1xEntry_op", 2},
    {"st_lumiIfModeStatsObjects_op", 3},
    {"st_lumiIfStatsEntry_op", 10},
    {"st_lumiIfStatusEntry_op", 14},
    {"st_lumiIfcStatsEntry_op", 2},
    {"st_lumiIfcStatsEntry_new_op", 2},
    {"lumv_list_name_and_addr", 11},
    {"st_lumvDownloadServerEntry_op", 9},
    {"st_lumvDownloadServerListEntry_op", 5},
    {"lumvDownloadServerListEntry_new_key", 3},
    {"st_lumvDownloadServerListEntry_new_op", 3},
    {"st_lumvProvisionedServerEntry_op", 17},
    {"lumvProvisionedServerEntry_new_key", 9},
    {"st_lumvProvisionedServerEntry_new_op", 9},
    {"st_orvanAuthFrameworkSystem_op", 4},
    {"st_pexAuthMethodRegEntry_op", 3},
    {"st_type_stats", 19},
    {"st_radius_stats", 45},
    {"st_aaa_command_handler", 20},
    {"st_aaa_dead_stats", 9},
    {"st_aaa_type", 17},
    {"st_radius_dtls_stats", 11},
    {"st_aaa_servers", 1527},
    {"st_pmap_sessn_info", 3},
    {"service_type_info_key", 3},
    {"st_service_type_info", 2},
    {"st_aaa_local_stats", 28},
    {"st_radius_server_group_key", 4},
    {"st_radius_server_group", 3},
    {"st_aaa_ds_memory_stats", 5},
    {"st_aaa_memory_stats", 25},
    {"st_aaa_client_stats", 1462},
    {"st_ldap_stats", 20},
    {"st_ldap_summary", 4},
    {"st_ldap_conn", 3},
    {"st_aaa_test_result", 22},
    {"pexSessionEntry_key", 4},
    {"st_pexSessionEntry_op", 36},
};

}  // namespace tarn::test

#endif
