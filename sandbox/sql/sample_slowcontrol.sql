-- Slow controls: APDs are cooled to about -15 degrees, but for a warm area about diblock 8, DCMs 3 and 4, where
-- the temperature control is off. Some values were never recorded.
INSERT INTO slowcontrol.apd_settings
  SELECT config_id, dcm_name, port,
         CASE WHEN number % 211 <> 5 THEN NOT (diblock = 8 AND dcm IN (3, 4)) END,
         CASE WHEN number % 199 <> 7 THEN
           round((CASE WHEN diblock = 8 AND dcm IN (3, 4) THEN 14.5 + 0.5 * (port % 8) ELSE 0 END
                  - 15 + 0.3 * sin(diblock / 2.0) + 0.2 * cos(dcm / 2.0)
                  + 0.1 * sample.chance(config_id || 'temperature ' || number))::numeric, 3) END,
         CASE WHEN number % 223 <> 11 THEN 375 + floor(46 * sample.chance('voltage ' || number))::integer END
  FROM daqconfig.configurations, sample.board
  ORDER BY config_id, number;
