-- What the other sample files build on, dropped when they are done: the detector's DCMs and boards, and a
-- source of numbers that look random and are the same every time.
CREATE SCHEMA sample;

-- A number from 0 up to 1, the same for the same text.
CREATE FUNCTION sample.chance(key text) RETURNS double precision
  LANGUAGE sql IMMUTABLE PARALLEL SAFE
  AS $$ SELECT ('x' || substr(md5(key), 1, 8))::bit(32)::bigint / 4294967296.0::double precision $$;

CREATE TABLE sample.dcm (diblock integer, dcm integer, dcm_name text);

SELECT :'detector' = 'birch' AS birch, :'detector' = 'alder' AS alder \gset
\if :birch
INSERT INTO sample.dcm SELECT diblock, dcm FROM generate_series(1, 14) diblock, generate_series(1, 12) dcm;
UPDATE sample.dcm SET dcm_name = format('dcm-2-%s-%s', to_char(diblock, 'FM00'), to_char(dcm, 'FM00'));
\elif :alder
INSERT INTO sample.dcm SELECT diblock, dcm FROM generate_series(1, 4) diblock, generate_series(1, 4) dcm
  WHERE diblock < 4 OR dcm < 3;
UPDATE sample.dcm SET dcm_name = format('dcm-1-%s-%s', to_char(diblock, 'FM00'), to_char(dcm, 'FM00'));
\else
INSERT INTO sample.dcm SELECT diblock, dcm FROM generate_series(1, 2) diblock, generate_series(1, 2) dcm;
UPDATE sample.dcm SET dcm_name = format('dcm-3-%s-%s', to_char(diblock, 'FM00'), to_char(dcm, 'FM00'));
\endif

-- The far detector's boards: ports of a DCM cover two modules of every second plane of a diblock.
-- number identifies a board in every size of the sample; fitted says whether the sample has hardware there.
CREATE TABLE sample.board AS
  SELECT diblock, dcm, dcm_name, port, number,
         plane / 32 AS block, plane % 32 AS layer, 2 * ((dcm - 1) % 6) + port / 32 AS position,
         :'size' = 'full' OR port IN (0, 1, 15, 42, 59, 63) AS fitted
  FROM sample.dcm, generate_series(0, 63) AS port,
       LATERAL (SELECT ((diblock - 1) * 12 + dcm - 1) * 64 + port,
                       64 * (diblock - 1) + 2 * (port % 32) + (dcm - 1) / 6) AS place (number, plane)
  ORDER BY number;
ANALYZE sample.board;
