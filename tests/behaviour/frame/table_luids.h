/* SPDX-License-Identifier: Apache-2.0 */
// The tables in the order of the directory, with the LUIDs by which other readers of a
// store identify them.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FRAME_TABLE_LUIDS_H
#define TARNBASE_TESTS_BEHAVIOUR_FRAME_TABLE_LUIDS_H

namespace tarn::test {

struct TableLuid {
    const char *table;
    const char *luid_text;
};

// clang-format off
inline constexpr TableLuid table_luids[] = {
    {"tbl_lumEnvironmentDataObjects_op", "009c1c654ca08cff43eeead451a07fc0"},
    {"tbl_pmap_sessn_info", "018b2436fd4d097894596e04f8e661b6"},
    {"tbl_aaa_command_handler", "0656ad5f8a79b1bd2c17b252508e41b3"},
    {"tbl_radius_server_group", "139eb1a66395fd4bbd24c96ced03a5a6"},
    {"tbl_dot1xPaePortEntryInit_op", "1526e732817201eac88010fbdb32f98d"},
    {"tbl_aaa_test_result", "18e3a1116ec2d2d4913bd459209ae284"},
    {"tbl_pexAuthMethodRegEntry_op", "32f1ce37cfae95ec9a5500b7f1f22848"},
    {"tbl_aaa_dead_stats", "337b66cee6febbb7eb5841cd25bcec55"},
    {"tbl_dot1xAuthStatsEntry_op", "37c290656ce8aa7b6d308556e886062a"},
    {"tbl_lumiIfStatusEntry_op", "3b032ab0112cd736b2f49c69427d372f"},
    {"tbl_pexSessionEntry_op", "49710d157a85be7a1841c7c3c2ba8462"},
    {"tbl_lumEnvSecurityGroupNameEntry_op", "4b61782375d83d1936ad7eea3e826ab2"},
    {"tbl_dot1xAuthConfigEntry_op", "52c8f73b92150c6cbee9496dc2f122e8"},
    {"tbl_lumvProvisionedServerEntry_op", "543c9de17acf434d92b8cea006c9e034"},
    {"tbl_lumvDownloadServerEntry_op", "5499c1e9a78dae08eb064ecccb412536"},
    {"tbl_aaa_client_stats", "56a5067e784cafd3c907e4932f1dc790"},
    {"tbl_lumiIfDot1xEntry_op", "657efc1f805dfea124bb7c4e814e69f4"},
    {"tbl_lumKeystorePacRecordEntry_op", "725693815a5ee0c5a487df28deb9e70a"},
    {"tbl_lumiIfcStatsEntry_op", "7dadfc8badb325910ac8bb872550e8b5"},
    {"tbl_dot1xPaePortEntry_op", "7eeaaeb5434af1a7dd3bd4635aeaf361"},
    {"tbl_lumiIfModeStatsObjects_op", "838ea1461660ba0a4adfcb1e7a722484"},
    {"tbl_lumPacInfoEntry_new_op", "869de292ec7ebb716f232b3d1f2f71ef"},
    {"tbl_aaa_memory_stats", "86f01ae43d697a43374d1d1a2d3390c7"},
    {"tbl_lumiIfStatsEntry_op", "888221a362ba6f168d10d05039eb4031"},
    {"tbl_lumiAuthorizationEntry_op", "8c5b2de4688d4da51b1b2df4a6fc24bf"},
    {"tbl_lumvDownloadServerListEntry_op", "8e0eb5d412fb11ef08931565f17e48ef"},
    {"tbl_lumPacInfoEntry_op", "8f7fdca6f9fce1a20b7bffd6e8a67325"},
    {"tbl_aaa_local_stats", "90cea4b8f744bd6f44ea2c6bffa5e532"},
    {"tbl_dot1xPaePortEntryReauth_op", "9492f4c7b3ae592c99ed3a9524b19cf5"},
    {"tbl_lum_credentials", "99bc4c3f13e4c8d9c9864fc9a5f7146b"},
    {"tbl_ldap_summary", "9afabe92091c77e82b113d67a04432aa"},
    {"tbl_lumKeystorePasswordRecordEntry_new_op", "9f1fbe458f5bb16ab31f483bc055213d"},
    {"tbl_lumiEventsStatsObjects_op", "a7caec561b8a1d28077a12c2f8f1c134"},
    {"tbl_ldap_conn", "b1bbd13dd7e17f84a70ee216797542cc"},
    {"tbl_lumvDownloadServerListEntry_new_op", "b62cdfb7e54fd79ad3f94bf7c251502d"},
    {"tbl_lumKeystorePasswordRecordEntry_op", "b9edeb675fcfe4de6bfcb6cc57b58a93"},
    {"tbl_ravoClientInfoEntry_op", "bb9424b6b4883d33775ac66d69f886a8"},
    {"tbl_lumEnvSecurityGroupNameEntry_new_op", "c38fe773cf5a2c73f54eb6453bbb57f3"},
    {"tbl_radius_stats", "c90c01c8e70b214757ad599c1d25c0c1"},
    {"tbl_lumvProvisionedServerEntry_new_op", "e3be22b2151b047b5e63113e4ddc9863"},
    {"tbl_service_type_info", "e3cd1668c585b64a7576fb57fbb519ab"},
    {"tbl_ldap_stats", "e520e0f5ffae1e03458a77fe1cb426e7"},
    {"tbl_lumiIfcStatsEntry_new_op", "ee55db595904c35addda07b9cc4da30e"},
    {"tbl_aaa_servers", "f0bb1ae2562fe0cfe719983461513fd6"},
    {"tbl_orvanAuthFrameworkSystem_op", "f9470ab7b3639e44c92974e5c4a78889"},
};
// clang-format on

}  // namespace tarn::test

#endif
