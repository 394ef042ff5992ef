-- Indexes and statistics of the hardware tables that pay for themselves; docs/operators.md says what each is good for. All that the
-- library needs is the tables.

-- The gains statement reads this index alone, in its own order (after a VACUUM). apd_id is included because
-- the planner takes an expression from an index only when the index also has the expression's column.
CREATE INDEX IF NOT EXISTS apd_pixel_m_gain ON public.apd_pixel_m
  (right(apd_id, 7), batch_no DESC, target_degc, pixel_col, pixel_row) INCLUDE (apd_id, pixel_m)
  WHERE target_degc < 0;

-- Installed APDs, taken with random_page_cost near 1.
CREATE INDEX IF NOT EXISTS apd_stats_serial ON public.apd_stats (right(apd_id, 7), target_degc)
  INCLUDE (apd_id, batch_no, vr);

-- Cabling. The planner takes the three numbers of a place for independent of each other, and the join for far
-- smaller than it is, unless statistics on both sides tell it better.
CREATE INDEX IF NOT EXISTS feb_comm_cables_place ON public.feb_comm_cables (
  (CAST(btrim(location2, 'BLK:') AS integer)),
  (CAST(btrim(position2, 'PLN:') AS integer)),
  (CAST(btrim(port2, 'POS:') AS integer)));
CREATE INDEX IF NOT EXISTS module_place ON millpondprod_factory.module (block, layer, position_in_layer)
  INCLUDE (barcoded_item_id);
CREATE STATISTICS IF NOT EXISTS public.feb_comm_cables_place_statistics ON
  (CAST(btrim(location2, 'BLK:') AS integer)),
  (CAST(btrim(position2, 'PLN:') AS integer)),
  (CAST(btrim(port2, 'POS:') AS integer))
  FROM public.feb_comm_cables;
CREATE STATISTICS IF NOT EXISTS millpondprod_factory.module_place_statistics ON block, layer, position_in_layer
  FROM millpondprod_factory.module;

-- Near-detector hardware.
CREATE INDEX IF NOT EXISTS hardware_position_place ON public.hardware_position (detector, hw_type, dcm_name, dcm_port)
  INCLUDE (block, plane, module_position, install_date, remove_date);
