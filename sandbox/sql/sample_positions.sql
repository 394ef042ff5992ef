-- The near detector's hardware_position: 629 places, about three in ten with a replacement.
-- Ports are counted as the channel map counts them.
CREATE TABLE sample.place AS
  SELECT diblock, dcm, dcm_name, port, plane / 32 AS block, plane % 32 AS layer, module,
         row_number() OVER (ORDER BY diblock, dcm, port) AS number
  FROM sample.dcm, generate_series(0, 63) AS port,
       LATERAL (SELECT
         CASE WHEN diblock < 4 THEN 64 * (diblock - 1) + 2 * (port % 32) + (dcm - 1) / 2
              WHEN dcm = 2 THEN 193 + 2 * (port / 2)
              WHEN port < 27 THEN 192 + 2 * (port / 3)
              ELSE 192 + 2 * (9 + (port - 27) / 2) END,
         CASE WHEN diblock < 4 THEN CASE dcm WHEN 1 THEN 0 WHEN 2 THEN 1 + port / 32 WHEN 3 THEN port / 32 ELSE 2 END
              WHEN dcm = 2 THEN port % 2
              WHEN port < 27 THEN port % 3
              ELSE (port - 27) % 2 END) AS place (plane, module)
  WHERE port < CASE WHEN diblock < 4 THEN CASE WHEN dcm IN (1, 4) THEN 32 ELSE 64 END
                    WHEN dcm = 1 THEN 31 ELSE 22 END;

-- Three boards of diblock 4 came later than the rest. Some come and go about the start of run 11001,
-- 2015-08-01 15:30:00 UTC, which is 20:30:00 UTC when the same text is read as CDT.
CREATE TABLE sample.stay AS
  SELECT place.*, kind, 1 AS generation,
         CASE WHEN diblock = 4 AND dcm = 2 AND port >= 19 THEN timestamptz '2013-09-01 00:00:00Z'
              ELSE timestamptz '2013-06-01 00:00:00Z' + number * interval '1 hour' END AS installed,
         CASE WHEN sample.chance(kind || number) < 0.3
              THEN timestamptz '2014-11-01 00:00:00Z'
                   + floor(900 * 86400 * sample.chance(kind || ' out ' || number)) * interval '1 second'
         END AS removed
  FROM sample.place, (VALUES ('APD'), ('FEB'), ('MODULE')) AS kinds (kind);
INSERT INTO sample.stay
  SELECT diblock, dcm, dcm_name, port, block, layer, module, number, kind, 2, removed, NULL
  FROM sample.stay WHERE removed IS NOT NULL;
DELETE FROM sample.stay WHERE diblock = 1 AND dcm = 1 AND port <= 5 AND generation = 2;
UPDATE sample.stay SET installed = at, removed = NULL
  FROM (VALUES (0, timestamptz '2015-08-01 15:29:59Z'), (1, '2015-08-01 15:30:00Z'),
               (2, '2015-08-01 18:00:00Z')) AS late (board, at)
  WHERE diblock = 1 AND dcm = 1 AND port = board;
UPDATE sample.stay SET removed = at
  FROM (VALUES (3, timestamptz '2015-08-01 15:30:00Z'), (4, '2015-08-01 15:30:01Z'),
               (5, '2015-08-01 18:00:00Z')) AS gone (board, at)
  WHERE diblock = 1 AND dcm = 1 AND port = board;

INSERT INTO public.hardware_position
  SELECT 'Alder', dcm_name, port, block, layer, module, installed, removed, kind,
         format('%s-%s-%s', kind, to_char(number, 'FM0000'), generation)
  FROM sample.stay ORDER BY installed, kind, number;

-- The far detector's boards stand in the same table.
INSERT INTO public.hardware_position
  SELECT 'Birch', format('dcm-2-%s-%s', to_char(diblock, 'FM00'), to_char(dcm, 'FM00')), port,
         2 * (diblock - 1) + port % 32 / 16, port % 32, dcm - 1, '2013-03-01 00:00:00Z', NULL, kind,
         format('%s-%s-%s-%s', kind, diblock, dcm, port)
  FROM generate_series(1, 14) AS diblock, generate_series(1, 12) AS dcm, generate_series(0, 63) AS port,
       (VALUES ('APD'), ('FEB')) AS kinds (kind)
  WHERE :'size' = 'full' OR port IN (0, 1, 15, 42, 59, 63)
  ORDER BY diblock, dcm, port, kind;
