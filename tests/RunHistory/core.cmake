# The run record: the object, its detector, the DAQ run history, the good-diblock mask, installed hardware.
brio_unit_test(RunHistory.core.unit
  SOURCES RunHistoryObjectTest.cc DetectorTest.cc SimulatedRunTest.cc DiBlockQueriesTest.cc RunTimesTest.cc
          GoodDiBlockMaskTest.cc AnalysisMaskTest.cc
  LIBS brio::RunHistory brio_test_support)
