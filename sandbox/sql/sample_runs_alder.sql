-- The near detector's runs.
\ir sample_run_list.sql

INSERT INTO sample.run (run, tstart, configid, diblocks, nactivechan) VALUES
  (11000, '2014-06-10 03:00:00', 2001, '{1,2,3,4}', 20128),
  (11001, '2015-08-01 15:30:00', 2002, '{1,2,3,4}', 20128),
  (11002, '2013-08-01 12:00:00', 2001, '{4}', 1600),
  (11003, '2012-01-01 00:00:00', 2001, '{1,2,3,4}', 0);
UPDATE sample.run SET tstop = tstart + interval '8 hours 50 minutes', event_builders = 13, dbmask = 15;
