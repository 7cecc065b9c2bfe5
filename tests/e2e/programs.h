#pragma once
// Where the programs under test were built (tests/e2e/CMakeLists.txt); empty for one that this
// tree does not build.

namespace kvn::e2e::programs {

inline constexpr const char* kPxmd = KVN_E2E_PXMD;
inline constexpr const char* kPxmNs = KVN_E2E_PXM_NS;
inline constexpr const char* kTraceController = KVN_E2E_TRACE_CONTROLLER;
inline constexpr const char* kKvnsh = KVN_E2E_KVNSH;
inline constexpr const char* kDaxoSim = KVN_E2E_DAXO_SIM;
inline constexpr const char* kDiagSim = KVN_E2E_DIAG_SIM;
inline constexpr const char* kLmcTool = KVN_E2E_LMC_TOOL;
inline constexpr const char* kKvnDecode = KVN_E2E_KVN_DECODE;

}  // namespace kvn::e2e::programs
