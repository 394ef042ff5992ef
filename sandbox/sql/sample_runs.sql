-- The run tables of every detector. What is particular to a detector's runs is said in its own file before:
-- sample.run lists the runs, with what their DCMs, event builders and records are.
INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, nactivechan, nevents, partition, runtype,
                      begin_comment, end_comment, shifter)
  SELECT run, tstart, tstop, configid, nsubruns, nactivechan, 1000000 + 37 * run, partition, runtype,
         'start of run ' || run, 'end of run ' || run, 'shifter ' || run % 9
  FROM sample.run ORDER BY run;

INSERT INTO daq.subruns (run, subrun, tstart, tstop)
  SELECT run, subrun, tstart + subrun * interval '26 minutes',
         tstart + subrun * interval '26 minutes' + interval '25 minutes 30 seconds'
  FROM sample.run, generate_series(0, nsubruns - 1) AS subrun ORDER BY run, subrun;

INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector, hostname)
  SELECT run, 'dcm', dcm_name, initcap(:'detector'), 'host-' || dcm_name
  FROM sample.run, sample.dcm
  WHERE has_resources AND diblock = ANY (diblocks) AND dcm = ANY (dcms) AND dcm_name <> ALL (absent)
  ORDER BY run, md5(dcm_name);
INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector, hostname)
  SELECT run, 'bnevb', 'bnevb-' || to_char(builder, 'FM000'), initcap(:'detector'), 'farm-' || to_char(builder, 'FM000')
  FROM sample.run, generate_series(1, event_builders) AS builder
  WHERE has_resources ORDER BY run, builder DESC;
INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector, hostname)
  SELECT run, resource_type, appname, detector, 'host-' || appname FROM sample.odd_resource ORDER BY run, appname;

-- The good-diblock mask of a run is the newest of three rows; they do not come in the order of their dates.
INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime, insertuser)
  SELECT run, CASE version WHEN 3 THEN dbmask WHEN 2 THEN 8191 ELSE 127 END,
         timestamp '2017-01-01 12:00:00' + version * interval '90 days', 'dq' || version
  FROM sample.run, (VALUES (2), (3), (1)) AS versions (version)
  WHERE has_mask ORDER BY run, version % 3;

INSERT INTO beam.potbyrun (run, npot)
  SELECT run, CASE WHEN has_pot_value THEN 2.3e17 + (run % 1000) * 1.25e15 END FROM sample.run WHERE has_pot ORDER BY run;

-- Data-quality records: two versions, one record a subrun in each; the older version comes last.
INSERT INTO dataquality.dqsubruninfo (run, version, subrun, flag, miprate, ngooddb, numslc, trkfrac, comment,
                                      inserttime, insertuser)
  SELECT run, version, subrun, CASE WHEN (run + subrun) % 17 = 0 THEN 4 ELSE 0 END,
         (120 + (run * 7 + subrun * 3 + version) % 10) / 100.0, array_length(diblocks, 1),
         4 + (run + subrun) % 10 / 10.0, (85 + (run + subrun * 5) % 10) / 100.0,
         'version ' || version, timestamp '2017-02-01 00:00:00' + version * interval '30 days', 'dq'
  FROM sample.run, generate_series(1, 2) AS version, generate_series(0, nsubruns - 1) AS subrun
  WHERE has_quality ORDER BY run, version DESC, subrun;
INSERT INTO dataquality.dqsubruninfo (run, version, subrun, flag, miprate, ngooddb, numslc, trkfrac)
  SELECT * FROM sample.odd_quality ORDER BY version NULLS FIRST, subrun;
INSERT INTO beam.potbyrun (run, npot) SELECT * FROM sample.odd_pot ORDER BY npot DESC;
