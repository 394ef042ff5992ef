# Installed hardware: records, pulls, the location map, and questions about channels.
brio_unit_test(RunHistory.hardware.unit
  SOURCES HardwareDateTest.cc HardwareRecordsTest.cc NumberTextTest.cc PixelGainsTest.cc
  LIBS brio::RunHistory brio_test_support)

brio_server_test(RunHistory.hardware
  SOURCES APDPullTest.cc ChannelQuestionsTest.cc FEBPullTest.cc HardwareLoadingTest.cc HardwareMappingTest.cc
          HardwareStatementsTest.cc LoadingByQuestionsTest.cc LoadingFailuresTest.cc NearHardwareTest.cc
  LIBS brio::RunHistory ${CMAKE_DL_LIBS})
