-- What README.md of the sandbox promises about the samples of the near and the third detector.
\ir expect.sql
SELECT :'detector' = 'alder' AS alder \gset
\if :alder
CREATE FUNCTION pg_temp.installed(start timestamp) RETURNS TABLE (diblock integer, dcm integer, port integer)
  LANGUAGE sql AS $$
  SELECT substr(dcm_name, 7, 2)::integer, substr(dcm_name, 10, 2)::integer, dcm_port
  FROM public.hardware_position
  WHERE detector = 'Alder' AND hw_type = 'APD' AND install_date AT TIME ZONE 'UTC' < start
    AND (remove_date IS NULL OR remove_date AT TIME ZONE 'UTC' > start) $$;
CREATE FUNCTION pg_temp.boards(start timestamp) RETURNS TABLE (diblock integer, boards bigint)
  LANGUAGE sql AS $$
  SELECT diblock, count(*) FROM pg_temp.installed(start) GROUP BY 1 $$;
SELECT pg_temp.expect('places', (count(DISTINCT (dcm_name, dcm_port)), count(DISTINCT hw_type))::text,
  '(629,3)')
  FROM public.hardware_position WHERE detector = 'Alder';
SELECT pg_temp.expect('places a DCM', string_agg(DISTINCT dcm_name || ':' || ports, ' '),
  'dcm-1-01-01:32 dcm-1-01-02:64 dcm-1-01-03:64 dcm-1-01-04:32 dcm-1-02-01:32 dcm-1-02-02:64 dcm-1-02-03:64'
  ' dcm-1-02-04:32 dcm-1-03-01:32 dcm-1-03-02:64 dcm-1-03-03:64 dcm-1-03-04:32 dcm-1-04-01:31 dcm-1-04-02:22')
  FROM (SELECT dcm_name, count(DISTINCT dcm_port) AS ports FROM public.hardware_position
  WHERE detector = 'Alder' GROUP BY 1) AS dcm;
SELECT pg_temp.expect('planes are filled',
  bool_and(boards = CASE WHEN plane < 192 THEN 3 WHEN plane % 2 = 0 AND plane < 210
    THEN 3 ELSE 2 END), true)
  FROM (SELECT 32 * block + plane AS plane, count(DISTINCT module_position) AS boards
  FROM public.hardware_position
        WHERE detector = 'Alder' GROUP BY 1) AS plane;
SELECT pg_temp.expect('history, in tenths', round(10.0 * count(remove_date) / 629 / 3), 3.0)
  FROM public.hardware_position WHERE detector = 'Alder';
SELECT pg_temp.expect('run 11000', array_agg(boards ORDER BY diblock), '{189,192,192,53}')
  FROM pg_temp.boards('2014-06-10 03:00:00');
SELECT pg_temp.expect('run 11001', array_agg(boards ORDER BY diblock), '{189,192,192,53}')
  FROM pg_temp.boards('2015-08-01 15:30:00');
SELECT pg_temp.expect('run 11001, first ports', array_agg(port ORDER BY port), '{0,4,5}')
  FROM pg_temp.installed('2015-08-01 15:30:00') WHERE (diblock, dcm) = (1, 1) AND port < 6;
SELECT pg_temp.expect('run 11001 read as CDT, first ports', array_agg(port ORDER BY port), '{0,1,2}')
  FROM pg_temp.installed('2015-08-01 20:30:00') WHERE (diblock, dcm) = (1, 1) AND port < 6;
SELECT pg_temp.expect('run 11002, diblock 4', sum(boards), 50::numeric)
  FROM pg_temp.boards('2013-08-01 12:00:00') WHERE diblock = 4;
SELECT pg_temp.expect('run 11003', count(*), 0::bigint) FROM pg_temp.boards('2012-01-01 00:00:00');
SELECT pg_temp.expect('rows of the far detector', count(*) > 1000, true) FROM public.hardware_position
  WHERE detector = 'Birch';
SELECT pg_temp.expect('DCMs', string_agg(run || ':' || dcms, ' ' ORDER BY run),
  '11000:14 11001:14 11002:2 11003:14')
  FROM (SELECT run, count(*) AS dcms FROM daq.daqresourcesbyrun
  WHERE resource_type = 'dcm' AND detector = 'Alder' GROUP BY 1) AS run;
SELECT pg_temp.expect('configurations', string_agg(config_id || ':' || dcms, ' ' ORDER BY config_id),
  '2001:14 2002:14')
  FROM (SELECT config_id, count(*) AS dcms FROM daqconfig.enable_masks
  JOIN daqconfig.thresholds USING (config_id, dcm_name) GROUP BY 1) AS c;
\else
SELECT pg_temp.expect('resources',
  string_agg(appname || '@' || coalesce(detector, 'none'), ' ' ORDER BY appname),
  'bnevb-001@Cedar bnevb-002@ dcm-3-01-01@Cedar dcm-3-01-02@cedar dcm-3-02-01@Birch dcm-3-02-02@none')
  FROM daq.daqresourcesbyrun WHERE run = 12000;
SELECT pg_temp.expect('run 12000', string_agg(concat_ws(' ', configid, tstart), '|'),
  '3001 2014-02-01 10:00:00') FROM daq.runs;
SELECT pg_temp.expect('configuration 3001', count(*), 4::bigint)
  FROM daqconfig.enable_masks JOIN daqconfig.thresholds USING (config_id, dcm_name) WHERE config_id = 3001;
\endif
