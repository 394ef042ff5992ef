# The run record: the object, its detector, the DAQ run history, the good-diblock mask, installed hardware.
brio_unit_test(RunHistory.core.unit
  SOURCES RunHistoryObjectTest.cc DetectorTest.cc SimulatedRunTest.cc DiBlockQueriesTest.cc RunTimesTest.cc
          GoodDiBlockMaskTest.cc AnalysisMaskTest.cc
  LIBS brio::RunHistory brio_test_support)

brio_server_test(RunHistory.core
  SOURCES RunDatabase.cc RefusedSend.cc DAQRunHistoryTest.cc DAQFailureTest.cc DAQBadInputTest.cc
          CarriedOverTest.cc MaskLoadingTest.cc FarHardwareTest.cc NearHardwareStatementTest.cc HardwareStatementTest.cc
          HardwareFailureTest.cc LoadChainTest.cc OneStateTest.cc UnreachableServerTest.cc
          DumpTest.cc StreamFormatTest.cc DefinitionFilesTest.cc RunRowTest.cc
  LIBS brio::RunHistory)
target_link_libraries(test_RunHistory.core PRIVATE ${CMAKE_DL_LIBS})
target_compile_definitions(test_RunHistory.core PRIVATE
  BRIO_SANDBOX="${PROJECT_SOURCE_DIR}/sandbox/sandbox" BRIO_DUMPS="${CMAKE_CURRENT_SOURCE_DIR}/dumps")
brio_server_test(RunHistory.progress SOURCES ProgressOutputTest.cc LIBS brio::RunHistory)
