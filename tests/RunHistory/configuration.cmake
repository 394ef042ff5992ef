# DAQ configuration, slow controls, and whole-run loading.
brio_server_test(RunHistory.configuration
  SOURCES ConfiguredSite.cc FilledCachesTest.cc SampleConfigurationTest.cc PixelConfigurationTest.cc PixelRetriesTest.cc
          ThresholdQuestionsTest.cc CoolingTest.cc APDSettingsTest.cc APDGainsTest.cc WholeRunTest.cc IncompleteSettingsTest.cc
          WholeRunRecoveryTest.cc
  LIBS brio::RunHistory)
brio_server_test(RunHistory.configuration.full
  SOURCES FullConfigurationTest.cc
  LIBS brio::RunHistory FULL)
