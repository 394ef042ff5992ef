-- The far detector's modules, APDs and FEBs: when they were registered, connected and replaced, and the cables.
-- Run 13002 starts at 2016-03-01 03:00:00 UTC, which is 08:00:00 UTC when the same text is read as CDT.

-- Boards with something remarkable; the rest are ordinary. Times are those of the APD's connection.
CREATE TABLE sample.remarkable (diblock integer, dcm integer, port integer, what text, at timestamptz);
INSERT INTO sample.remarkable VALUES
  (12, 1, 0, 'gain 89.9'), (12, 1, 1, 'gain 90.0'), (12, 1, 15, 'gain 110.0'), (12, 1, 42, 'gain 110.1'),
  (12, 1, 59, 'unknown pixel column'), (12, 1, 63, 'only half the pixels'),
  (12, 2, 0, 'no APD'), (12, 2, 1, 'no FEB'), (12, 2, 15, 'neither'), (12, 2, 42, 'first serial'),
  (12, 3, 0, 'slope 0'), (12, 3, 1, 'tiny slope'), (12, 3, 15, 'negative slope'),
  (12, 6, 59, 'date with a fraction');
INSERT INTO sample.remarkable VALUES
  (12, 4, 0,  'APD connected', '2016-03-01 05:30:00Z'),
  (12, 4, 1,  'APD connected', '2016-03-01 07:59:59Z'),
  (12, 4, 15, 'APD connected', '2016-03-01 08:00:00Z'),
  (12, 4, 42, 'APD connected', '2016-03-01 08:30:00Z'),
  (12, 4, 59, 'APD disconnected', '2016-03-01 05:30:00Z'),
  (12, 4, 63, 'APD disconnected', '2016-03-01 08:00:00Z'),
  (12, 5, 0,  'APD disconnected', '2016-03-01 08:00:01Z'),
  (12, 5, 1,  'APD replaced on the day it was registered', '2016-03-01 05:30:00Z'),
  (12, 5, 15, 'FEB replaced on the day it was registered', '2016-03-01 05:30:00Z'),
  (12, 5, 42, 'APD withdrawn but connected', '2015-10-01 00:00:00Z'),
  (12, 5, 59, 'FEB withdrawn but connected', '2015-10-01 00:00:00Z');
-- A second APD or FEB that was connected while the first one stayed; the time is its registration.
INSERT INTO sample.remarkable VALUES
  (12, 6, 0,  'second APD', '2013-05-06 09:10:00Z'),  -- the first one's date, to the second
  (12, 6, 1,  'second APD', '2014-02-03 12:00:00Z'),  -- a later day
  (12, 6, 15, 'second APD', '2013-05-06 10:20:00Z'),  -- later on the same day, where only hours tell
  (12, 5, 63, 'second APD', '2012-12-01 12:00:00Z'),  -- an earlier day
  (12, 6, 42, 'second FEB', '2014-02-03 12:00:00Z');

-- The history of each board's place. About three APDs and FEBs in ten were replaced once.
CREATE TABLE sample.place AS
  SELECT board.*, what, at, 100001 + number AS module,
         timestamptz '2013-01-07 08:00:00Z' + number * interval '63 minutes'
           + floor(60 * sample.chance('module ' || number)) * interval '1 minute' AS installed,
         timestamptz '2014-11-01 00:00:00Z'
           + floor(900 * 86400 * sample.chance('APD out ' || number)) * interval '1 second' AS apd_replaced,
         timestamptz '2014-11-01 00:00:00Z'
           + floor(900 * 86400 * sample.chance('FEB out ' || number)) * interval '1 second' AS feb_replaced
  FROM sample.board LEFT JOIN sample.remarkable USING (diblock, dcm, port)
  WHERE fitted
  ORDER BY number;
UPDATE sample.place SET apd_replaced = NULL WHERE what IS NOT NULL OR sample.chance('APD ' || number) >= 0.3;
UPDATE sample.place SET feb_replaced = NULL WHERE what IS NOT NULL OR sample.chance('FEB ' || number) >= 0.3;
UPDATE sample.place SET apd_replaced = at WHERE what LIKE 'APD replaced%';
UPDATE sample.place SET feb_replaced = at WHERE what LIKE 'FEB replaced%';

-- Serials go criss-cross over the detector: 1 to 10,752 first fitted, the next 10,752 replacements, then what
-- was connected beside another. 7919 and 7907 have no factor in common with 10,752, so none comes twice. Serial
-- 1 sits on diblock 12, DCM 2, port 42.
CREATE TABLE sample.apd AS
  SELECT 1 + ((number - 8554) * 7919 % 10752 + 10752) % 10752 AS serial, number, module, what,
         CASE WHEN what = 'APD connected' THEN at ELSE installed END AS connected,
         CASE WHEN what = 'APD disconnected' THEN at ELSE apd_replaced END AS disconnected,
         NULL::timestamptz AS added, NULL::timestamptz AS removed
  FROM sample.place WHERE what IS DISTINCT FROM 'no APD' AND what IS DISTINCT FROM 'neither'
  UNION ALL
  SELECT 10753 + number * 7907 % 10752, number, module, what, apd_replaced, NULL, NULL, NULL
  FROM sample.place WHERE apd_replaced IS NOT NULL
  UNION ALL
  SELECT 30000 + number, number, module, what, at, NULL, at, NULL
  FROM sample.place WHERE what = 'second APD';
CREATE TABLE sample.feb AS
  SELECT 1 + number * 7901 % 10752 AS serial, number, module, what,
         installed AS connected, feb_replaced AS disconnected,
         NULL::timestamptz AS added, NULL::timestamptz AS removed
  FROM sample.place WHERE what IS DISTINCT FROM 'no FEB' AND what IS DISTINCT FROM 'neither'
  UNION ALL
  SELECT 10753 + number * 7883 % 10752, number, module, what, feb_replaced, NULL, NULL, NULL
  FROM sample.place WHERE feb_replaced IS NOT NULL
  UNION ALL
  SELECT 30000 + number, number, module, what, at, NULL, at, NULL
  FROM sample.place WHERE what = 'second FEB';

-- Items are registered some days before they are connected; some dates have fractions of a second.
UPDATE sample.apd SET added = connected - (3 + serial % 20) * interval '1 day'
  + CASE WHEN serial % 4 = 0 THEN serial % 100 * interval '10 milliseconds' ELSE interval '0' END
  WHERE added IS NULL;
UPDATE sample.feb SET added = connected - (3 + serial % 20) * interval '1 day'
  + CASE WHEN serial % 4 = 0 THEN serial % 100 * interval '10 milliseconds' ELSE interval '0' END
  WHERE added IS NULL;
UPDATE sample.apd SET added = '2013-05-06 09:10:00Z' WHERE what = 'second APD' AND serial <= 10752;
UPDATE sample.apd SET added = '2013-05-06 14:35:09.25Z' WHERE what = 'date with a fraction';
UPDATE sample.apd SET added = connected WHERE what LIKE 'APD replaced%' AND serial > 10752;
UPDATE sample.feb SET added = connected WHERE what LIKE 'FEB replaced%' AND serial > 10752;
-- One replaced item in five was withdrawn from the register a month later.
UPDATE sample.apd SET removed = disconnected + interval '30 days' WHERE serial % 5 = 0;
UPDATE sample.feb SET removed = disconnected + interval '30 days' WHERE serial % 5 = 0;
UPDATE sample.apd SET removed = '2015-10-01 00:00:00Z' WHERE what = 'APD withdrawn but connected';
UPDATE sample.feb SET removed = '2015-10-01 00:00:00Z' WHERE what = 'FEB withdrawn but connected';

-- Besides the modules in place, 500 spares that have no place and one on a rack of its own with neither APD
-- nor FEB.
INSERT INTO millpondprod_factory.module
  SELECT module, block, layer, position, CASE layer % 2 WHEN 0 THEN 'vertical' ELSE 'horizontal' END
  FROM sample.place
  UNION ALL SELECT 150000 + spare, NULL, NULL, NULL, NULL FROM generate_series(1, 500) AS spare
  UNION ALL SELECT 150501, 28, 0, 0, 'vertical'
  ORDER BY 1;

INSERT INTO millpondprod_factory.apd SELECT 200000 + serial, 'W' || serial / 40 FROM sample.apd ORDER BY serial;

INSERT INTO millpondprod_factory.barcoded_item
  SELECT *, 'technician ' || item % 11
  FROM (
    SELECT module, '01.01.' || to_char(module, 'FM0000000'), 'module', installed - interval '60 days', NULL::timestamptz
    FROM sample.place
    UNION ALL
    SELECT 150000 + spare, '01.01.' || to_char(150000 + spare, 'FM0000000'), 'module', '2013-01-01 00:00:00Z',
           NULL
    FROM generate_series(1, 501) AS spare
    UNION ALL
    SELECT 200000 + serial, format('05.%s.%s', to_char(serial % 97, 'FM00'), to_char(serial, 'FM0000000')), 'apd',
           added, removed
    FROM sample.apd
    UNION ALL
    SELECT 300000 + serial, format('FEB4.%s.%s', 1 + serial % 4, to_char(serial, 'FM000000')), 'feb',
           added, removed
    FROM sample.feb
  ) AS items (item, barcode, kind, added, removed)
  ORDER BY added, item;

INSERT INTO millpondprod_factory.brio_connection
  SELECT 500000 + serial, connected, disconnected FROM sample.apd
  UNION ALL SELECT 600000 + serial, connected, disconnected FROM sample.feb
  ORDER BY 2, 1;
INSERT INTO millpondprod_factory.module_apd_connection
  SELECT 500000 + serial, module, 200000 + serial FROM sample.apd ORDER BY connected, serial;
INSERT INTO millpondprod_factory.module_feb_connection
  SELECT 600000 + serial, module, 300000 + serial FROM sample.feb ORDER BY connected, serial;

-- One cable a board, whether or not the board is there.
INSERT INTO public.feb_comm_cables
  SELECT 1 + number, 'DIBLK:' || to_char(diblock, 'FM00'), 'DCM:' || to_char(dcm, 'FM00'),
         'PRT:' || to_char(port, 'FM00'), 'BLK:' || to_char(block, 'FM00'), 'PLN:' || to_char(layer, 'FM00'),
         'POS:' || to_char(position, 'FM00')
  FROM sample.place ORDER BY number;
-- Entered twice: (12, 7, 0) with the bare module of the rack, (12, 7, 42) as it is, and (12, 7, 1), written
-- without the leading zero, with the module of (12, 7, 15), which so hangs at two places.
INSERT INTO public.feb_comm_cables VALUES (20001, 'DIBLK:12', 'DCM:07', 'PRT:00', 'BLK:28', 'PLN:00', 'POS:00');
INSERT INTO public.feb_comm_cables
  SELECT 20002, location1, position1, port1, location2, position2, port2 FROM public.feb_comm_cables
  WHERE location1 = 'DIBLK:12' AND position1 = 'DCM:07' AND port1 = 'PRT:42';
INSERT INTO public.feb_comm_cables
  SELECT 20003, location1, 'DCM:7', 'PRT:1', location2, position2, port2 FROM public.feb_comm_cables
  WHERE location1 = 'DIBLK:12' AND position1 = 'DCM:07' AND port1 = 'PRT:15';
