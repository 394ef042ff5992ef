# Installed hardware: records, pulls, the location map, and questions about channels.
brio_unit_test(RunHistory.hardware.unit
  SOURCES HardwareDateTest.cc HardwareRecordsTest.cc NumberTextTest.cc PixelGainsTest.cc
  LIBS brio::RunHistory brio_test_support)

brio_server_test(RunHistory.hardware
  SOURCES APDPullTest.cc FEBPullTest.cc HardwareLoadingTest.cc HardwareMappingTest.cc HardwareStatementsTest.cc
          LoadingFailuresTest.cc NearHardwareTest.cc
  LIBS brio::RunHistory)
