-- The far detector's runs.
\ir sample_run_list.sql

INSERT INTO sample.run (run, tstart, configid, nsubruns) VALUES
  (13000, '2014-06-10 03:00:00', 1001, 20),
  (13001, '2015-08-01 15:30:00', 1002, 21),
  (13002, '2016-03-01 03:00:00', 1003, 22);
INSERT INTO sample.run (run, tstart, configid)
  SELECT run, timestamp '2016-03-01 03:00:00' + (run - 13002) * interval '36 hours', 1003
  FROM generate_series(13003, 13017) AS run;
INSERT INTO sample.run (run, tstart, configid, nsubruns)
  SELECT run, timestamp '2016-04-01 06:15:00' + (run - 13018) * interval '3 days 1 hour', 1001 + run % 3, 18 + run % 6
  FROM generate_series(13018, 13040) AS run;
UPDATE sample.run SET tstop = tstart + interval '8 hours 50 minutes', nactivechan = 344064,
  diblocks = '{1,2,3,4,5,6,7,8,9,10,11,12,13,14}', event_builders = 140, dbmask = 16383;

UPDATE sample.run SET diblocks = '{5,6,7,8,9,10,11,12,13,14}', nactivechan = 245760 WHERE run = 13003;
UPDATE sample.run SET tstop = NULL WHERE run = 13004;
UPDATE sample.run SET tstart = NULL, tstop = NULL, configid = NULL, nsubruns = NULL, nactivechan = NULL,
  partition = NULL, runtype = NULL, absent = '{dcm-2-03-05,dcm-2-04-06}', event_builders = 138 WHERE run = 13005;
UPDATE sample.run SET has_resources = false WHERE run = 13006;
UPDATE sample.run SET dbmask = 0 WHERE run = 13007;
UPDATE sample.run SET has_mask = false, has_pot = false, has_quality = false WHERE run = 13008;
UPDATE sample.run SET dbmask = NULL, has_pot_value = false WHERE run = 13009;
UPDATE sample.run SET dbmask = x'3DBF'::integer WHERE run = 13010;  -- diblocks 1 to 6, 8, 9 and 11 to 14
UPDATE sample.run SET diblocks = '{1,2,3}', nactivechan = 73728 WHERE run = 13011;
UPDATE sample.run SET configid = 1010 WHERE run = 13013;
UPDATE sample.run SET configid = 1011 WHERE run = 13014;
UPDATE sample.run SET configid = 9999 WHERE run = 13015;
UPDATE sample.run SET dcms = '{1,2,3,4,5,6}', nactivechan = 172032 WHERE run = 13016;
UPDATE sample.run SET has_quality = false, has_pot = false WHERE run = 13017;

-- Small differences among the ordinary runs.
UPDATE sample.run SET absent = '{dcm-2-07-03}', nactivechan = 342016 WHERE run = 13025;
UPDATE sample.run SET dbmask = 16383 - 16 WHERE run IN (13028, 13035);
UPDATE sample.run SET partition = 2 WHERE run = 13030;
UPDATE sample.run SET runtype = 'Calibration' WHERE run = 13033;
UPDATE sample.run SET event_builders = 139 WHERE run = 13037;

INSERT INTO sample.odd_resource VALUES
  (13005, NULL, 'dcm-2-03-05', 'Birch'),
  (13005, 'dcm', 'dcm-2-04-06', NULL),
  (13005, NULL, 'bnevb-139', 'Birch'),
  (13005, 'bnevb', 'bnevb-140', NULL),
  (13011, 'dcm', 'dcm-2-03-00', 'Birch'),
  (13011, 'dcm', 'dcm-2-03-13', 'Birch'),
  (13011, 'dcm', 'dcm-2-03-99', 'Birch'),
  (13011, 'DCM', 'dcm-2-04-01', 'Birch'),
  (13011, 'dcmapp', 'dcm-2-04-02', 'Birch'),
  (13011, 'runcontrol', 'runcontrol-01', 'Birch'),
  (13011, 'trigger', 'globaltrigger-01', 'Birch'),
  (13011, '', 'nothing', 'Birch'),
  (13011, 'dcm', 'dcm-1-04-01', 'Alder'),
  (13011, 'bnevb', 'bnevb-201', 'Alder'),
  (13011, 'dcm', 'dcm-2-05-01', 'birch'),
  (13011, 'dcm', 'dcm-2-05-02', ''),
  (13011, 'dcm', 'dcm-2-05-03', NULL),
  (13012, 'dcm', 'dcm-2', 'Birch');

INSERT INTO sample.odd_quality VALUES
  (13017, 3, 0, 0, 1.25, 14, 4.5, 0.875),
  (13017, 3, 1, NULL, NULL, NULL, NULL, NULL),
  (13017, 2, 0, 9, 9.5, 9, 9.5, 0.5),
  (13017, NULL, 0, 8, 8.5, 8, 8.5, 0.25);
INSERT INTO sample.odd_pot VALUES (13017, 2.5e17), (13017, 1.5e17);
