# Installed hardware: records, pulls, the location map, and questions about channels.
brio_unit_test(RunHistory.hardware.unit
  SOURCES BoardIndexTest.cc HardwareDateTest.cc HardwareRecordsTest.cc NumberTextTest.cc OfflineBoardsTest.cc
          GainsDigestTest.cc PixelGainsTest.cc StatementTimeTest.cc
  LIBS brio::RunHistory brio_test_support)

brio_server_test(RunHistory.hardware
  SOURCES APDPullTest.cc ChannelQuestionsTest.cc FEBPullTest.cc HardwareLoadingTest.cc HardwareMappingTest.cc
          HardwareStatementsTest.cc LoadingByQuestionsTest.cc LoadingFailuresTest.cc NearHardwareTest.cc
  LIBS brio::RunHistory ${CMAKE_DL_LIBS})

# Replaces operator new, so it stands alone.
brio_server_test(RunHistory.hardware.allocations
  SOURCES HardwareAllocationsTest.cc
  LIBS brio::RunHistory)

brio_server_test(RunHistory.hardware.full
  SOURCES HardwareMapFullTest.cc
  LIBS brio::RunHistory
  FULL)
