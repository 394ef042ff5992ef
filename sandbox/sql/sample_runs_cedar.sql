-- A small third detector, with one run whose resources do not agree on what the detector is called.
\ir sample_run_list.sql

INSERT INTO sample.run (run, tstart, tstop, configid, diblocks, nactivechan, event_builders, dbmask) VALUES
  (12000, '2014-02-01 10:00:00', '2014-02-01 18:50:00', 3001, '{1,2}', 8192, 1, 3);
UPDATE sample.run SET absent = '{dcm-3-01-02,dcm-3-02-01,dcm-3-02-02}';
INSERT INTO sample.odd_resource VALUES
  (12000, 'dcm', 'dcm-3-01-02', 'cedar'),
  (12000, 'dcm', 'dcm-3-02-01', 'Birch'),
  (12000, 'dcm', 'dcm-3-02-02', NULL),
  (12000, 'bnevb', 'bnevb-002', '');
