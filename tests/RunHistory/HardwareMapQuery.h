#pragma once

#include <string>

namespace brio::test {

inline std::string WithTime(std::string statement, const std::string& utc) {
  for (auto at = statement.find("$T"); at != std::string::npos; at = statement.find("$T", at)) {
    statement.replace(at, 2, "timestamptz '" + utc + "+00'");
  }
  return statement;
}

/// What hangs at each location at a time (UTC), worked out by the database: diblock, DCM, port; of the FEB
/// barcode, intercept, slope, item, module, connection, date; of the APD (NULL without one) serial, item,
/// batch, temperature, vr, connection, date, 32 gains by DAQ pixel separated by blanks.
inline std::string HardwareMapQuery(const std::string& utc) {
  // The planner knows nothing of the sizes of the parts, would loop over one in the other and compile it all.
  return WithTime(R"(
SET enable_nestloop TO off;
SET jit TO off;
WITH
-- A date as it is read: of the time of day only the last digits of hour, minute and second.
item AS (
  SELECT barcoded_item_id AS id, barcode, glassfish_discriminator AS kind, date_added,
         extract(epoch FROM date_trunc('day', utc)) + 3600 * (extract(hour FROM utc)::int % 10)
           + 60 * (extract(minute FROM utc)::int % 10) + floor(extract(second FROM utc))::int % 10 AS read_date
  FROM millpondprod_factory.barcoded_item, LATERAL (SELECT date_added AT TIME ZONE 'UTC' AS utc) AS t
  WHERE date_added < $T AND coalesce(date_removed, 'infinity') > $T
),
live_connection AS (
  SELECT connection_id FROM millpondprod_factory.brio_connection WHERE coalesce(date_removed, 'infinity') > $T
),
feb_row AS (
  SELECT connected.module, connection_id, item.*, test.hvfitintercept, test.hvfitslope
  FROM millpondprod_factory.module_feb_connection AS connected
  JOIN live_connection USING (connection_id)
  JOIN item ON item.id = connected.feb AND item.kind = 'feb'
  JOIN public.feb_test_summary AS test ON translate(test.febsn, '-', '.') = item.barcode
),
feb AS (
  SELECT *, (SELECT read_date FROM feb_row ORDER BY date_added DESC LIMIT 1) AS common_date
  FROM feb_row JOIN (SELECT module, max(date_added) AS date_added FROM feb_row GROUP BY module) AS newest
    USING (module, date_added)
),
-- The warmest measurement below zero of each pixel in the highest batch; an unknown column counts as A and
-- comes after it.
highest AS (
  SELECT apd_id, max(batch_no) AS batch_no FROM public.apd_pixel_m WHERE target_degc < 0 GROUP BY apd_id
),
measured AS (
  SELECT DISTINCT ON (apd_id, pixel) substr(apd_id, length(apd_id) - 6) AS serial, pixel, pixel_m::real AS gain
  FROM public.apd_pixel_m JOIN highest USING (apd_id, batch_no),
       LATERAL (SELECT 4 * (pixel_row - 1) + greatest(strpos('ABCD', pixel_col) - 1, 0) AS pixel) AS place
  WHERE target_degc < 0
  ORDER BY apd_id, pixel, target_degc DESC, pixel_col DESC
),
gain_list AS (
  SELECT known.serial, string_agg(coalesce(gain::text, '100'), ' ' ORDER BY number) AS gains
  FROM (SELECT DISTINCT serial FROM measured) AS known CROSS JOIN generate_series(0, 31) AS number
  LEFT JOIN measured ON measured.serial = known.serial AND measured.pixel = number
  GROUP BY known.serial
),
apd_row AS (
  SELECT serial, connected.module, connection_id, item.id, item.read_date, gain_list.gains
  FROM millpondprod_factory.module_apd_connection AS connected
  JOIN live_connection USING (connection_id)
  JOIN item ON item.id = connected.apd AND item.kind = 'apd',
  LATERAL (SELECT substr(item.barcode, length(item.barcode) - 6)) AS own (serial)
  LEFT JOIN gain_list USING (serial)
),
-- One without gains has those of the nearest serial before it that has some.
apd_with_gains AS (
  SELECT *, coalesce(max(gains) OVER (PARTITION BY nth_with_gains), nominal) AS shown_gains
  FROM (SELECT *, count(gains) OVER (ORDER BY serial) AS nth_with_gains FROM apd_row) AS numbered,
       (SELECT string_agg('100', ' ') FROM generate_series(1, 32)) AS without (nominal)
),
apd AS (
  SELECT DISTINCT ON (module) * FROM apd_with_gains ORDER BY module, read_date DESC, serial
),
coldest AS (
  SELECT DISTINCT ON (apd_id) substr(apd_id, length(apd_id) - 6) AS serial, batch_no, target_degc, vr
  FROM public.apd_stats ORDER BY apd_id, target_degc
),
cable AS (
  SELECT substr(location1, 7)::int AS diblock, substr(position1, 5)::int AS dcm, substr(port1, 5)::int AS port,
         location1, position1, port1, module.barcoded_item_id AS module
  FROM public.feb_comm_cables JOIN millpondprod_factory.module
    ON (block, layer, position_in_layer) =
       (substr(location2, 5)::int, substr(position2, 5)::int, substr(port2, 5)::int)
)
SELECT DISTINCT ON (diblock, dcm, port)
       diblock, dcm, port, feb.barcode, feb.hvfitintercept::real,
       CASE WHEN feb.hvfitslope = 0 THEN 0.02586 ELSE feb.hvfitslope END::real,
       feb.id, module, feb.connection_id, feb.common_date,
       apd.serial, apd.id, coldest.batch_no, coldest.target_degc, coldest.vr::real, apd.connection_id,
       apd.read_date, apd.shown_gains
FROM cable JOIN feb USING (module) LEFT JOIN apd USING (module) LEFT JOIN coldest USING (serial)
ORDER BY diblock, dcm, port, location1 DESC, position1 DESC, port1 DESC)",
                  utc);
}

/// The ports that have an APD when the text of a time is read as CDT: diblock, DCM, port, block, plane,
/// position.
inline std::string InstalledPortsQuery(const std::string& text) {
  return WithTime(R"(
SELECT DISTINCT ON (1, 2, 3)
       substr(location1, 7)::int, substr(position1, 5)::int, substr(port1, 5)::int,
       block, layer, position_in_layer
FROM public.feb_comm_cables JOIN millpondprod_factory.module
  ON (block, layer, position_in_layer) =
     (substr(location2, 5)::int, substr(position2, 5)::int, substr(port2, 5)::int)
WHERE barcoded_item_id IN (
    SELECT module FROM millpondprod_factory.module_apd_connection
    JOIN millpondprod_factory.brio_connection USING (connection_id)
    WHERE date_created < $T + interval '5 hours'
      AND coalesce(date_removed, 'infinity') > $T + interval '5 hours')
  AND (substr(location1, 7)::int, substr(position1, 5)::int, substr(port1, 5)::int)
      NOT IN ((4, 7, 15), (5, 7, 59), (14, 6, 42))
ORDER BY 1, 2, 3, location1, position1, port1)",
                  text);
}

}  // namespace brio::test
