# Protons on target, data-quality subrun records, channel records.
brio_unit_test(RunHistory.quality.unit
  SOURCES ChannelHistoryTest.cc ChannelQualityTest.cc
  LIBS brio::RunHistory brio_test_support)
brio_server_test(RunHistory.quality
  SOURCES ProtonsOnTargetTest.cc DQSubrunInfoTest.cc
  LIBS brio::RunHistory)
