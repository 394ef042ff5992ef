-- The least that every statement of a load finds something in: on Birch run 13000 with two DCMs, two modules
-- on the first, each with an APD and a board; on Alder run 11000 with one DCM and one APD. All rules on what
-- a column may hold are dropped first.
DO $$
DECLARE r record;
BEGIN
  FOR r IN SELECT conrelid::regclass AS t, conname FROM pg_constraint
           WHERE conrelid <> 0 AND connamespace::regnamespace::text !~ '^(pg_|information_schema)' LOOP
    EXECUTE format('ALTER TABLE %s DROP CONSTRAINT %I CASCADE', r.t, r.conname);
  END LOOP;
  FOR r IN SELECT indexrelid::regclass AS i FROM pg_index JOIN pg_class c ON c.oid = indexrelid
           WHERE c.relnamespace::regnamespace::text !~ '^pg_' LOOP
    EXECUTE format('DROP INDEX %s', r.i);
  END LOOP;
  FOR r IN SELECT stxnamespace::regnamespace AS s, stxname FROM pg_statistic_ext LOOP
    EXECUTE format('DROP STATISTICS %s.%I', r.s, r.stxname);
  END LOOP;
  FOR r IN SELECT attrelid::regclass AS t, attname FROM pg_attribute JOIN pg_class c ON c.oid = attrelid
           WHERE attnum > 0 AND attnotnull AND relkind = 'r' AND relnamespace::regnamespace::text !~ '^(pg_|information_schema)' LOOP
    EXECUTE format('ALTER TABLE %s ALTER %I DROP NOT NULL', r.t, r.attname);
  END LOOP;
END $$;
DROP VIEW daqconfig.pixel_thresholds, daqconfig.feb_masks;

INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, nactivechan, partition, runtype) VALUES
  (13000, '2016-03-01 03:00:00', '2016-03-01 04:00:00', 1, 3, 64, 1, 'Physics'),
  (11000, '2016-03-01 03:00:00', '2016-03-01 04:00:00', 1, 3, 64, 1, 'Physics');
INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES
  (13000, 'dcm', 'dcm-2-01-01', 'Birch'), (13000, 'dcm', 'dcm-2-01-02', 'Birch'),
  (13000, 'bnevb', 'bnevb-001', 'Birch'), (11000, 'dcm', 'dcm-1-01-01', 'Alder');
INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime) VALUES (13000, 16383, '2017-01-01');
INSERT INTO beam.potbyrun (run, npot) VALUES (13000, 2.5e17);
INSERT INTO dataquality.dqsubruninfo (run, version, subrun, flag, miprate, ngooddb, numslc, trkfrac) VALUES
  (13000, 2, 0, 1, 1.5, 14, 4.5, 0.875), (13000, 1, 0, 9, 9.5, 9, 9.5, 0.5);

INSERT INTO millpondprod_factory.barcoded_item (barcoded_item_id, barcode, glassfish_discriminator, date_added) VALUES
  (1, 'MODULE-1', 'module', '2013-01-01 00:00:00Z'), (2, 'MODULE-2', 'module', '2013-01-01 00:00:00Z'),
  (11, 'LOT-0000011', 'apd', '2013-05-06 14:35:09Z'), (12, 'LOT-0000012', 'apd', '2013-05-06 14:35:09Z'),
  (21, 'FEB4.1.000021', 'feb', '2013-05-07 14:35:09Z'), (22, 'FEB4.1.000022', 'feb', '2013-05-06 14:35:09Z');
INSERT INTO millpondprod_factory.module VALUES (1, 0, 0, 0, 'x'), (2, 0, 2, 0, 'x');
INSERT INTO millpondprod_factory.apd VALUES (11, 'w'), (12, 'w');
INSERT INTO millpondprod_factory.brio_connection (connection_id, date_created)
  SELECT id, '2013-06-01 00:00:00Z' FROM generate_series(101, 104) AS id;
INSERT INTO millpondprod_factory.module_apd_connection (connection_id, module, apd) VALUES (101, 1, 11), (102, 2, 12);
INSERT INTO millpondprod_factory.module_feb_connection (connection_id, module, feb) VALUES (103, 1, 21), (104, 2, 22);
INSERT INTO public.apd_stats (apd_id, batch_no, target_degc, vr) VALUES
  ('LOT-0000011', 2, -12, 401.5), ('LOT-0000012', 2, -12, 402.5);
INSERT INTO public.apd_pixel_m (apd_id, batch_no, target_degc, pixel_col, pixel_row, pixel_m)
  SELECT apd_id, 2, -12, chr(65 + pixel / 8), pixel % 8 + 1, 96 + pixel / 4.0
  FROM (VALUES ('LOT-0000011'), ('LOT-0000012')) AS apd (apd_id), generate_series(0, 31) AS pixel;
INSERT INTO public.feb_test_summary VALUES ('FEB4-1-000021', 310.5, 0.025), ('FEB4-1-000022', 311.5, 0.026);
INSERT INTO public.feb_comm_cables VALUES
  (1, 'DIBLK:01', 'DCM:01', 'PRT:00', 'BLK:00', 'PLN:00', 'POS:00'),
  (2, 'DIBLK:01', 'DCM:01', 'PRT:01', 'BLK:00', 'PLN:02', 'POS:00');
INSERT INTO public.hardware_position VALUES
  ('Alder', 'dcm-1-01-01', 0, 0, 0, 0, '2013-06-01 00:00:00Z', NULL, 'APD', 'A-1');

INSERT INTO daqconfig.configurations (config_id) VALUES (1);
INSERT INTO daqconfig.enable_masks (config_id, dcm_name, feb_enable_mask, pixel_enable_masks)
  SELECT 1, name, 3, decode(repeat('ffffffff', 64), 'hex')
  FROM unnest('{dcm-2-01-01,dcm-2-01-02,dcm-1-01-01}'::text[]) AS name;
INSERT INTO daqconfig.thresholds (config_id, dcm_name, thresholds)
  SELECT 1, name, decode(repeat('002d', 2048), 'hex')
  FROM unnest('{dcm-2-01-01,dcm-2-01-02,dcm-1-01-01}'::text[]) AS name;
INSERT INTO slowcontrol.apd_settings
  SELECT 1, name, port, true, -15.5, 380 + port
  FROM unnest('{dcm-2-01-01,dcm-2-01-02,dcm-1-01-01}'::text[]) AS name, generate_series(0, 1) AS port;

-- What every table held, to be put back.
CREATE SCHEMA keep;
DO $$
DECLARE r record;
BEGIN
  FOR r IN SELECT oid::regclass AS t, relnamespace::regnamespace || '_' || relname AS name FROM pg_class
           WHERE relkind = 'r' AND relnamespace::regnamespace::text !~ '^(pg_|information_schema|keep)' LOOP
    EXECUTE format('CREATE TABLE keep.%I AS TABLE %s', r.name, r.t);
  END LOOP;
END $$;
