-- DAQ configurations: which boards and pixels are enabled, and at what thresholds.
INSERT INTO daqconfig.configurations
  SELECT config_id, description, timestamp '2014-05-01 12:00:00' + config_id % 1000 * interval '20 days'
  FROM (VALUES
    ('birch', 1001, 'physics'), ('birch', 1002, 'physics, new thresholds'), ('birch', 1003, 'physics'),
    ('birch', 1010, 'masks without thresholds'), ('birch', 1011, 'two DCMs forgotten'),
    ('alder', 2001, 'physics'), ('alder', 2002, 'physics, new thresholds'),
    ('cedar', 3001, 'commissioning')) AS list (detector, config_id, description)
  WHERE detector = :'detector';

CREATE TABLE sample.forgotten (config_id bigint, dcm_name text);
INSERT INTO sample.forgotten VALUES (1011, 'dcm-2-06-07'), (1011, 'dcm-2-09-12');

CREATE VIEW sample.configured_board AS
  SELECT config_id, dcm_name, diblock, dcm, port, number, layer, position
  FROM daqconfig.configurations, sample.board
  WHERE (config_id, dcm_name) NOT IN (SELECT config_id, dcm_name FROM sample.forgotten);

-- About two boards in a hundred are off, three quarters of them in every configuration; one in a hundred of
-- the others has pixels off, pixel 31 among them for every second. Diblock 12, DCM 8 has the extremes.
INSERT INTO daqconfig.enable_masks
  SELECT config_id, dcm_name, bit_or(CASE WHEN enabled THEN 1::bigint << port ELSE 0 END),
         string_agg(int4send(pixels), ''::bytea ORDER BY port)
  FROM sample.configured_board, LATERAL (SELECT
    CASE WHEN diblock = 12 AND dcm = 8 THEN port <> 63
         ELSE sample.chance('board ' || dcm_name || port) >= 0.015
              AND sample.chance(config_id || 'board ' || dcm_name || port) >= 0.005
    END,
    CASE WHEN diblock = 12 AND dcm = 8 THEN
           CASE port WHEN 1 THEN 2147483647 WHEN 15 THEN -2147483648 WHEN 42 THEN 0 ELSE -1 END
         WHEN sample.chance('pixels ' || dcm_name || port) >= 0.01 THEN -1
         ELSE floor(4294967296.0 * sample.chance('mask ' || dcm_name || port))::bigint::bit(32)::integer
              & CASE number % 2 WHEN 0 THEN 2147483647 ELSE -1 END
    END) AS mask (enabled, pixels)
  GROUP BY config_id, dcm_name
  ORDER BY config_id, dcm_name;

-- Thresholds vary smoothly over the detector, from 28 to 67 counts. One board has values from the ends of the
-- range.
INSERT INTO daqconfig.thresholds
  SELECT config_id, dcm_name, string_agg(int2send(
           CASE WHEN diblock = 12 AND dcm = 8 AND port = 0 AND pixel < 4
                THEN (ARRAY[-1, -32768, 32767, 4095])[pixel + 1]
                ELSE level + (number * 31 + pixel * 17 + config_id::integer * 7) % 10 - 3 END::smallint),
         ''::bytea ORDER BY port, pixel)
  FROM (SELECT *, 46 + round(11 * sin((64 * diblock + layer) / 140.0) + 4 * cos(position / 2.0))::integer AS level
        FROM sample.configured_board WHERE config_id <> 1010 OFFSET 0) AS board,
       generate_series(0, 31) AS pixel
  GROUP BY config_id, dcm_name
  ORDER BY config_id, dcm_name;
