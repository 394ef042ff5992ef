-- What the test stands measured. Every APD was tested in two batches, the first at -15 degrees, the
-- second at -12, -8 and +20; one in a hundred has no gains. A pixel's gain is about 100.
CREATE TABLE sample.test AS
  SELECT apd.serial, apd.what, format('LOT-%s-%s', to_char(serial % 97, 'FM00'), to_char(serial, 'FM0000000')) AS apd_id,
         batch, temperature
  FROM sample.apd, (VALUES (1, -15), (2, -12), (2, -8), (2, 20)) AS test (batch, temperature);

INSERT INTO public.apd_stats
  SELECT apd_id, batch, temperature,
         (38000 + (serial::bigint * 7919 + batch * 131 + temperature * 17) % 4500) / 100.0::double precision, 100.1
  FROM sample.test ORDER BY batch, temperature, serial;

-- One APD in five hundred has gains far too low.
INSERT INTO public.apd_pixel_m
  SELECT apd_id, batch, temperature, chr(65 + pixel / 8), pixel % 8 + 1,
         CASE WHEN what LIKE 'gain %' THEN substr(what, 6)::double precision
              ELSE (CASE WHEN serial % 500 = 250 THEN 840000 ELSE 960000 END
                    + (serial::bigint * 7919 + pixel * 104729 + batch * 311 + temperature * 17) % 80000)
                   / 10000.0::double precision
         END
  FROM sample.test, generate_series(0, 31) AS pixel
  WHERE serial % 100 <> 1
    -- Some pixels were not measured in the second batch.
    AND NOT (batch = 2 AND (serial % 50 = 3 AND pixel = serial / 50 % 32
                            OR what = 'only half the pixels' AND pixel % 2 = 1))
  ORDER BY batch, temperature, serial, pixel;
-- An APD with a pixel column that does not exist.
INSERT INTO public.apd_pixel_m
  SELECT apd_id, batch, temperature, 'E', row_number, 101 + row_number / 8.0
  FROM sample.test, generate_series(1, 8) AS row_number WHERE what = 'unknown pixel column' AND batch = 2;

-- One board in two hundred has no slope.
INSERT INTO public.feb_test_summary
  SELECT format('FEB4-%s-%s', 1 + serial % 4, to_char(serial, 'FM000000')),
         (3100000 + serial * 7919::bigint % 200000) / 10000.0::double precision,
         CASE what
           WHEN 'slope 0' THEN 0
           WHEN 'tiny slope' THEN 1e-9
           WHEN 'negative slope' THEN -0.0258
           ELSE CASE WHEN serial % 200 = 0 THEN 0
                     ELSE (250000 + serial * 7907::bigint % 15000) / 10000000.0::double precision END
         END
  FROM sample.feb ORDER BY serial;
