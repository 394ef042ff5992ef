-- 5,000 runs after those of the sample, each with all the resources that a run has.
INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, nactivechan, nevents, partition, runtype, begin_comment,
                      end_comment, shifter)
  SELECT run, timestamp '2017-01-01 00:00:00' + (run - 20000) * interval '10 hours',
         timestamp '2017-01-01 08:50:00' + (run - 20000) * interval '10 hours', 1001, 20, 344064, 1000000, 1, 'Physics',
         'begins', 'ends', 'nobody'
  FROM generate_series(20000, 24999) AS run;
INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector, hostname)
  SELECT run, 'dcm', format('dcm-2-%s-%s', lpad(diblock::text, 2, '0'), lpad(dcm::text, 2, '0')), 'Birch', 'host'
  FROM generate_series(20000, 24999) AS run, generate_series(1, 14) AS diblock, generate_series(1, 12) AS dcm;
INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector, hostname)
  SELECT run, 'bnevb', format('bnevb-%s', builder), 'Birch', 'host'
  FROM generate_series(20000, 24999) AS run, generate_series(1, 140) AS builder;
INSERT INTO beam.potbyrun (run, npot) SELECT run, 1e17 FROM generate_series(20000, 24999) AS run;
INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime)
  SELECT run, 16383, timestamp '2022-10-01 00:00:00' FROM generate_series(20000, 24999) AS run;
VACUUM ANALYZE daq.runs;
VACUUM ANALYZE daq.daqresourcesbyrun;
VACUUM ANALYZE beam.potbyrun;
VACUUM ANALYZE dataquality.gooddiblocksvsrun;
