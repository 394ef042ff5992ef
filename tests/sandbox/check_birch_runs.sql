-- What README.md of the sandbox promises about the far detector's runs and configurations.
\ir expect.sql

SELECT pg_temp.expect('runs', array_agg(run ORDER BY run),
  ARRAY(SELECT * FROM generate_series(13000, 13040))) FROM daq.runs;
SELECT pg_temp.expect('full runs', string_agg(concat_ws(' ', run, tstart, tstop - tstart, configid, nsubruns,
    nactivechan, partition, runtype), ' | ' ORDER BY run),
  '13000 2014-06-10 03:00:00 08:50:00 1001 20 344064 1 Physics'
  ' | 13001 2015-08-01 15:30:00 08:50:00 1002 21 344064 1 Physics'
  ' | 13002 2016-03-01 03:00:00 08:50:00 1003 22 344064 1 Physics') FROM daq.runs WHERE run <= 13002;
SELECT pg_temp.expect('runs without a stop', array_agg(run ORDER BY run), '{13004,13005}')
  FROM daq.runs WHERE tstop IS NULL;
SELECT pg_temp.expect('run of NULLs', count(*), 1::bigint) FROM daq.runs WHERE run = 13005
  AND num_nonnulls(tstart, tstop, configid, nsubruns, nactivechan, partition, runtype) = 0;

CREATE TEMP VIEW dcm AS
  SELECT run, substr(appname, 7, 2)::integer AS diblock, substr(appname, 10, 2)::integer AS dcm
  FROM daq.daqresourcesbyrun WHERE resource_type = 'dcm' AND detector = 'Birch' AND appname <> 'dcm-2';
SELECT pg_temp.expect('DCMs of run ' || run, count(dcm.dcm), expected::bigint) FROM dcm RIGHT JOIN (VALUES
    (13000, 168), (13001, 168), (13002, 168), (13003, 120), (13004, 168), (13005, 166), (13006, 0),
    (13007, 168),
    (13011, 39), (13012, 168), (13016, 84), (13025, 167), (13040, 168)) AS list (run, expected) USING (run)
  GROUP BY run, expected;
SELECT pg_temp.expect('diblocks of the partial detector', array_agg(DISTINCT diblock),
  '{5,6,7,8,9,10,11,12,13,14}')
  FROM dcm WHERE run = 13003;
SELECT pg_temp.expect('half a detector', array_agg(DISTINCT dcm), '{1,2,3,4,5,6}') FROM dcm WHERE run = 13016;
SELECT pg_temp.expect('odd DCM numbers', array_agg(dcm ORDER BY dcm), '{0,13,99}') FROM dcm
  WHERE run = 13011 AND dcm NOT BETWEEN 1 AND 12;
SELECT pg_temp.expect('types of run 13011', string_agg(DISTINCT resource_type, ' '),
  ' DCM bnevb dcm dcmapp runcontrol trigger') FROM daq.daqresourcesbyrun WHERE run = 13011;
SELECT pg_temp.expect('detectors of run 13011', count(DISTINCT coalesce(detector, 'none')), 5::bigint)
  FROM daq.daqresourcesbyrun WHERE run = 13011;
SELECT pg_temp.expect('a short name', count(*), 1::bigint) FROM daq.daqresourcesbyrun
  WHERE appname = 'dcm-2' AND run = 13012;
SELECT pg_temp.expect('NULLs among the resources', (count(*) FILTER (WHERE resource_type IS NULL),
  count(*) FILTER (WHERE detector IS NULL))::text, '(2,2)') FROM daq.daqresourcesbyrun WHERE run = 13005;
SELECT pg_temp.expect('event builders', array_agg(DISTINCT builders), '{139,140}')
  FROM (SELECT count(*)::integer AS builders
  FROM daq.daqresourcesbyrun WHERE resource_type = 'bnevb' AND detector = 'Birch' AND run <> 13005
  GROUP BY run) AS run;

CREATE TEMP VIEW newest AS
  SELECT DISTINCT ON (run) run, dbmask FROM dataquality.gooddiblocksvsrun ORDER BY run, inserttime DESC;
SELECT pg_temp.expect('masks', string_agg(run || ':' || coalesce(dbmask::text, 'none'), ' ' ORDER BY run),
  '13007:0 13009:none 13010:15807 13028:16367 13035:16367') FROM newest WHERE dbmask IS DISTINCT FROM 16383;
SELECT pg_temp.expect('runs without mask', array_agg(run), '{13008}') FROM daq.runs
  WHERE run NOT IN (SELECT run FROM newest);
SELECT pg_temp.expect('mask versions', array_agg(DISTINCT versions), '{3}')
  FROM (SELECT count(DISTINCT dbmask) + count(*) FILTER (WHERE dbmask IS NULL) AS versions
        FROM dataquality.gooddiblocksvsrun GROUP BY run) AS run;
SELECT pg_temp.expect('the newest mask never comes first', count(*), 0::bigint) FROM newest JOIN LATERAL
  (SELECT dbmask FROM dataquality.gooddiblocksvsrun AS mask WHERE mask.run = newest.run
  ORDER BY ctid DESC LIMIT 1) AS last
  ON last.dbmask IS NOT DISTINCT FROM newest.dbmask;

SELECT pg_temp.expect('runs without POT', array_agg(run), '{13008}') FROM daq.runs
  WHERE run NOT IN (SELECT run FROM beam.potbyrun);
SELECT pg_temp.expect('POT without value', array_agg(run), '{13009}') FROM beam.potbyrun WHERE npot IS NULL;
SELECT pg_temp.expect('two POT rows', array_agg(npot), '{2.5e17,1.5e17}') FROM beam.potbyrun
  WHERE run = 13017;
SELECT pg_temp.expect('POT of a run', bool_and(npot BETWEEN 1e17 AND 4e17), true) FROM beam.potbyrun;

SELECT pg_temp.expect('quality versions of run 13017', array_agg(version ORDER BY version), '{2,3,3,NULL}')
  FROM dataquality.dqsubruninfo WHERE run = 13017;
SELECT pg_temp.expect('runs without quality records', array_agg(run ORDER BY run), '{13005,13008}')
  FROM daq.runs
  WHERE run NOT IN (SELECT run FROM dataquality.dqsubruninfo);
SELECT pg_temp.expect('one record a subrun, in two versions', count(*), 0::bigint) FROM
  (SELECT FROM daq.runs JOIN dataquality.dqsubruninfo USING (run) WHERE run <> 13017
   GROUP BY run, nsubruns HAVING count(*) <> 2 * nsubruns OR max(version) <> 2) AS run;

-- Configurations.
SELECT pg_temp.expect('configurations', array_agg(config_id ORDER BY config_id), '{1001,1002,1003,1010,1011}')
  FROM daqconfig.configurations;
SELECT pg_temp.expect('DCMs with masks', string_agg(config_id || ':' || dcms, ' ' ORDER BY config_id),
  '1001:168 1002:168 1003:168 1010:168 1011:166')
  FROM (SELECT config_id, count(*) AS dcms FROM daqconfig.enable_masks GROUP BY 1) AS masks;
SELECT pg_temp.expect('DCMs with thresholds', string_agg(config_id || ':' || dcms, ' ' ORDER BY config_id),
  '1001:168 1002:168 1003:168 1011:166')
  FROM (SELECT config_id, count(*) AS dcms FROM daqconfig.thresholds GROUP BY 1) AS thresholds;
SELECT pg_temp.expect('forgotten DCMs', array_agg(dcm_name ORDER BY dcm_name), '{dcm-2-06-07,dcm-2-09-12}')
  FROM daqconfig.enable_masks WHERE config_id = 1001
  AND dcm_name NOT IN (SELECT dcm_name FROM daqconfig.thresholds WHERE config_id = 1011);
SELECT pg_temp.expect('boards off, in per cent', round(100 - avg(enabled::integer) * 100), 2.0)
  FROM daqconfig.feb_masks WHERE config_id = 1001;
SELECT pg_temp.expect('port 63 on and off', count(DISTINCT enabled), 2::bigint) FROM daqconfig.feb_masks
  WHERE config_id = 1001 AND port = 63;
SELECT pg_temp.expect('boards with pixels off, in per cent',
  round(avg((pixel_enable_mask <> -1)::integer) * 100), 1.0)
  FROM daqconfig.feb_masks WHERE config_id = 1001 AND enabled;
SELECT pg_temp.expect('pixel 31 off', count(*) > 10, true)
  FROM daqconfig.feb_masks WHERE config_id = 1001 AND enabled AND pixel_enable_mask >= 0;
SELECT pg_temp.expect('extreme masks', array_agg(pixel_enable_mask ORDER BY port),
  '{-1,2147483647,-2147483648,0}')
  FROM daqconfig.feb_masks WHERE config_id = 1001 AND dcm_name = 'dcm-2-12-08' AND port IN (0, 1, 15, 42);
SELECT pg_temp.expect('thresholds', (min(threshold), max(threshold))::text, '(28,67)')
  FROM daqconfig.pixel_thresholds WHERE config_id = 1001 AND NOT (dcm_name = 'dcm-2-12-08' AND port = 0);
SELECT pg_temp.expect('extreme thresholds', array_agg(threshold ORDER BY pixel), '{-1,-32768,32767,4095}')
  FROM daqconfig.pixel_thresholds
  WHERE config_id = 1001 AND dcm_name = 'dcm-2-12-08' AND port = 0 AND pixel < 4;

-- Slow controls.
SELECT pg_temp.expect('settings of each configuration', array_agg(DISTINCT settings), '{10752}')
  FROM (SELECT count(*) AS settings FROM slowcontrol.apd_settings GROUP BY config_id) AS configuration;
SELECT pg_temp.expect('settings never recorded', (count(*) - count(temperature) > 20,
  count(*) - count(voltage) > 20,
  count(*) - count(temperature_enabled) > 20)::text, '(t,t,t)') FROM slowcontrol.apd_settings
  WHERE config_id = 1001;
SELECT pg_temp.expect('voltages', (min(voltage), max(voltage))::text, '(375,420)')
  FROM slowcontrol.apd_settings;
SELECT pg_temp.expect('the cold detector', max(temperature) < -14 AND min(temperature) > -16, true)
  FROM slowcontrol.apd_settings WHERE dcm_name NOT IN ('dcm-2-08-03', 'dcm-2-08-04');
SELECT pg_temp.expect('the warm area', min(temperature) > -5, true)
  FROM slowcontrol.apd_settings WHERE dcm_name IN ('dcm-2-08-03', 'dcm-2-08-04');
