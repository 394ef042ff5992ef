-- What README.md of the sandbox promises about the far detector's sample, at the size given as :size.
\ir expect.sql
SELECT CASE :'size' WHEN 'full' THEN 64 ELSE 6 END AS ports \gset

-- Hardware: places, history.
CREATE TEMP VIEW cable AS
  SELECT cable_id, btrim(location1, 'DIBLK:')::integer AS diblock, btrim(position1, 'DCM:')::integer AS dcm,
         btrim(port1, 'PRT:')::integer AS port, module.*
  FROM public.feb_comm_cables JOIN millpondprod_factory.module
    ON (block, layer, position_in_layer) = (btrim(location2, 'BLK:')::integer,
                                            btrim(position2, 'PLN:')::integer,
                                            btrim(port2, 'POS:')::integer);
SELECT pg_temp.expect('places', count(DISTINCT (diblock, dcm, port)), 14 * 12 * :ports::bigint) FROM cable;
SELECT pg_temp.expect('places inside the topology', bool_and(diblock BETWEEN 1 AND 14 AND dcm BETWEEN 1 AND 12
  AND port BETWEEN 0 AND 63), true) FROM cable;
SELECT pg_temp.expect('places cabled twice', count(*), 3::bigint) FROM cable WHERE cable_id > 20000;
SELECT pg_temp.expect('places with two modules', count(*), 2::bigint)
  FROM (SELECT FROM cable GROUP BY diblock, dcm, port HAVING count(DISTINCT barcoded_item_id) > 1) AS place;
SELECT pg_temp.expect('modules at two places', count(*), 1::bigint)
  FROM (SELECT FROM cable GROUP BY barcoded_item_id
        HAVING count(DISTINCT (diblock, dcm, port)) > 1) AS module;
SELECT pg_temp.expect('places that are cabled but never read', count(*), 3::bigint) FROM cable
  WHERE (diblock, dcm, port) IN ((4, 7, 15), (5, 7, 59), (14, 6, 42));
SELECT pg_temp.expect('spares', count(*), 500::bigint) FROM millpondprod_factory.module WHERE block IS NULL;
SELECT pg_temp.expect('place of plane 895, module 11', string_agg((diblock, dcm, port)::text, ' '),
  '(14,12,63)')
  FROM cable WHERE (block, layer, position_in_layer) = (27, 31, 11);

CREATE TEMP VIEW apd AS
  SELECT item.*, right(barcode, 7) AS serial, module, date_created AS connected,
  connection.date_removed AS disconnected
  FROM millpondprod_factory.barcoded_item AS item
  JOIN millpondprod_factory.module_apd_connection ON apd = barcoded_item_id
  JOIN millpondprod_factory.brio_connection AS connection USING (connection_id)
  WHERE glassfish_discriminator = 'apd';
CREATE TEMP VIEW feb AS
  SELECT item.*, module, date_created AS connected, connection.date_removed AS disconnected
  FROM millpondprod_factory.barcoded_item AS item
  JOIN millpondprod_factory.module_feb_connection ON feb = barcoded_item_id
  JOIN millpondprod_factory.brio_connection AS connection USING (connection_id)
  WHERE glassfish_discriminator = 'feb';
SELECT pg_temp.expect('APDs replaced, in tenths',
  round(10.0 * count(disconnected) / (14 * 12 * :ports)), 3.0) FROM apd;
SELECT pg_temp.expect('FEBs replaced, in tenths',
  round(10.0 * count(disconnected) / (14 * 12 * :ports)), 3.0) FROM feb;
SELECT pg_temp.expect('replacements in their years',
  min(disconnected) >= '2014-11-01' AND max(disconnected) < '2017-05-01', true) FROM apd;
SELECT pg_temp.expect('APDs that no statistics name', count(*), 0::bigint) FROM apd
  WHERE serial NOT IN (SELECT right(apd_id, 7) FROM public.apd_stats);
SELECT pg_temp.expect('FEBs without test summary', count(*), 0::bigint) FROM feb WHERE NOT EXISTS
  (SELECT FROM public.feb_test_summary
   WHERE overlay(overlay(febsn placing '.' from 5 for 1) placing '.' from 7 for 1) = barcode);
SELECT pg_temp.expect('serials twice', count(*) - count(DISTINCT barcode), 0::bigint)
  FROM millpondprod_factory.barcoded_item;
SELECT pg_temp.expect('dates with fractions, and without',
  count(*) > 0 AND count(*) < (SELECT count(*) FROM apd), true)
  FROM apd WHERE date_added <> date_trunc('second', date_added);

-- Hardware: the remarkable places of diblock 12, by DCM and port.
CREATE TEMP VIEW board AS SELECT dcm, port, barcoded_item_id AS module FROM cable
  WHERE diblock = 12 AND port IN (0, 1, 15, 42, 59, 63) AND cable_id <= 20000;
SELECT pg_temp.expect('places without APD',
  string_agg(dcm || ',' || port, ' ' ORDER BY dcm, port), '2,0 2,15')
  FROM board WHERE module NOT IN (SELECT module FROM apd);
SELECT pg_temp.expect('places without FEB',
  string_agg(dcm || ',' || port, ' ' ORDER BY dcm, port), '2,1 2,15')
  FROM board WHERE module NOT IN (SELECT module FROM feb);
SELECT pg_temp.expect('slopes of 0, tiny, negative', array_agg(hvfitslope ORDER BY port), '{0,1e-9,-0.0258}')
  FROM board JOIN feb USING (module) JOIN public.feb_test_summary
    ON overlay(overlay(febsn placing '.' from 5 for 1) placing '.' from 7 for 1) = barcode
  WHERE dcm = 3 AND port IN (0, 1, 15);
SELECT pg_temp.expect('further slopes of 0', count(*) >= 5, true) FROM public.feb_test_summary
  WHERE hvfitslope = 0;

-- Run 13002 starts at 03:00:00 UTC: what is connected then in CDT, and what a job in UTC finds.
CREATE TEMP VIEW marked AS SELECT DISTINCT dcm, port FROM board JOIN apd USING (module)
  WHERE connected AT TIME ZONE 'CDT' < '2016-03-01 03:00:00'
    AND (disconnected IS NULL OR disconnected AT TIME ZONE 'CDT' > '2016-03-01 03:00:00');
SELECT pg_temp.expect('connected in CDT',
  string_agg(dcm || ',' || port, ' ' ORDER BY dcm, port), '4,0 4,1 5,0')
  FROM marked WHERE (dcm = 4 OR (dcm, port) = (5, 0));
SELECT pg_temp.expect('connected in CDT, no APD in UTC',
  string_agg(dcm || ',' || port, ' ' ORDER BY dcm, port), '4,0 4,1')
  FROM marked JOIN board USING (dcm, port) JOIN apd USING (module)
  WHERE dcm = 4 AND connected > '2016-03-01 03:00:00';
SELECT pg_temp.expect('not connected in CDT, still so in UTC',
  string_agg(dcm || ',' || port, ' ' ORDER BY port), '4,59 4,63')
  FROM board JOIN apd USING (module) WHERE dcm = 4 AND disconnected > '2016-03-01 03:00:00'
    AND (dcm, port) NOT IN (SELECT dcm, port FROM marked);
SELECT pg_temp.expect('APDs registered between UTC and CDT', count(*), 1::bigint) FROM board
  JOIN apd USING (module)
  WHERE (dcm, port) = (5, 1) AND date_added > '2016-03-01 03:00:00' AND date_added < '2016-03-01 08:00:00';
SELECT pg_temp.expect('FEBs registered between UTC and CDT', count(*), 1::bigint) FROM board
  JOIN feb USING (module)
  WHERE (dcm, port) = (5, 15) AND date_added > '2016-03-01 03:00:00' AND date_added < '2016-03-01 08:00:00';
SELECT pg_temp.expect('withdrawn APD still connected', string_agg((disconnected, date_removed)::text, ' '),
  '(,"2015-10-01 00:00:00+00")') FROM board JOIN apd USING (module) WHERE (dcm, port) = (5, 42);
SELECT pg_temp.expect('withdrawn FEB still connected', string_agg((disconnected, date_removed)::text, ' '),
  '(,"2015-10-01 00:00:00+00")') FROM board JOIN feb USING (module) WHERE (dcm, port) = (5, 59);
SELECT pg_temp.expect('second APDs', string_agg(dates, ' | ' ORDER BY dcm, port),
  '05-06 09:10, 12-01 12:00 | 05-06 09:10, 05-06 09:10 | 05-06 09:10, 02-03 12:00 | 05-06 09:10, 05-06 10:20')
  FROM (SELECT dcm, port, string_agg(to_char(date_added, 'MM-DD HH24:MI'), ', ' ORDER BY serial) AS dates
        FROM board JOIN apd USING (module) WHERE (dcm, port) IN ((5, 63), (6, 0), (6, 1), (6, 15))
        GROUP BY 1, 2) AS place;
SELECT pg_temp.expect('second FEB', count(*), 2::bigint) FROM board JOIN feb USING (module)
  WHERE (dcm, port) = (6, 42);
SELECT pg_temp.expect('date with a fraction', string_agg(date_added::text, ' '), '2013-05-06 14:35:09.25+00')
  FROM board JOIN apd USING (module) WHERE (dcm, port) = (6, 59);

-- Gains.
CREATE TEMP TABLE tested AS
  SELECT right(apd_id, 7) AS serial, target_degc, count(*) AS pixels FROM public.apd_pixel_m GROUP BY 1, 2;
SELECT pg_temp.expect('gains below zero degrees, in 100,000 of the full size',
  round(count(*) * 64.0 / :ports / 100000), 13.0) FROM public.apd_pixel_m WHERE target_degc < 0;
SELECT pg_temp.expect('temperatures of the batches', string_agg(DISTINCT batch_no || ':' || target_degc, ' '),
  '1:-15 2:-12 2:-8 2:20') FROM public.apd_pixel_m;
SELECT pg_temp.expect('APDs without gains, per mille',
  1000 * count(*) / (SELECT count(*) FROM apd) BETWEEN 7 AND 12, true)
  FROM apd WHERE serial NOT IN (SELECT serial FROM tested);
SELECT pg_temp.expect('the first serial has no gains', string_agg((dcm, port)::text, ' '), '(2,42)')
  FROM board JOIN apd USING (module)
  WHERE serial = '0000001' AND serial NOT IN (SELECT serial FROM tested);
CREATE TEMP VIEW gain AS SELECT dcm, port, gains.* FROM board JOIN apd USING (module)
  JOIN public.apd_pixel_m AS gains ON right(apd_id, 7) = serial WHERE dcm = 1;
SELECT pg_temp.expect('equal gains', string_agg(DISTINCT port || ':' || pixel_m, ' '),
  '0:89.9 15:110 1:90 42:110.1')
  FROM gain WHERE port NOT IN (59, 63);
SELECT pg_temp.expect('equal gains, whole', count(*), 32 * 4 * 4::bigint) FROM gain
  WHERE port NOT IN (59, 63);
SELECT pg_temp.expect('unknown pixel column', count(*), 8 * 3::bigint) FROM gain
  WHERE port = 59 AND pixel_col = 'E';
SELECT pg_temp.expect('only half the pixels', count(*), 16::bigint) FROM gain
  WHERE port = 63 AND batch_no = 2 AND target_degc = -8;
SELECT pg_temp.expect('sets of fewer than 32 pixels', count(*) >= 2 * :ports, true) FROM tested
  WHERE pixels < 32;
