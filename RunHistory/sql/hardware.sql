-- Tables of the hardware databases: what the factory made and where it was installed (millpondprod_factory),
-- what the test stands measured, how the boards are cabled (public).
CREATE SCHEMA IF NOT EXISTS millpondprod_factory;

-- Everything that carries a barcode; glassfish_discriminator is 'module', 'apd' or 'feb'.
CREATE TABLE IF NOT EXISTS millpondprod_factory.barcoded_item (
  barcoded_item_id        integer PRIMARY KEY,
  barcode                 text NOT NULL,
  glassfish_discriminator text NOT NULL,
  date_added              timestamp with time zone NOT NULL,
  date_removed            timestamp with time zone,
  added_by                text
);

-- The place is NULL for a spare module.
CREATE TABLE IF NOT EXISTS millpondprod_factory.module (
  barcoded_item_id  integer PRIMARY KEY,
  block             integer,
  layer             integer,
  position_in_layer integer,
  orientation       text
);

CREATE TABLE IF NOT EXISTS millpondprod_factory.apd (
  barcoded_item_id integer PRIMARY KEY,
  wafer            text
);

-- When two items were connected, and until when.
CREATE TABLE IF NOT EXISTS millpondprod_factory.brio_connection (
  connection_id integer PRIMARY KEY,
  date_created  timestamp with time zone NOT NULL,
  date_removed  timestamp with time zone
);

CREATE TABLE IF NOT EXISTS millpondprod_factory.module_apd_connection (
  connection_id integer PRIMARY KEY,
  module        integer NOT NULL,
  apd           integer NOT NULL
);

CREATE TABLE IF NOT EXISTS millpondprod_factory.module_feb_connection (
  connection_id integer PRIMARY KEY,
  module        integer NOT NULL,
  feb           integer NOT NULL
);

-- Test stand: one row an APD, batch and temperature. vr is the voltage in volts.
CREATE TABLE IF NOT EXISTS public.apd_stats (
  apd_id       text,
  batch_no     integer,
  target_degc  integer,
  vr           double precision,
  gain_mean    double precision
);

-- Test stand: gain of each pixel, column A to D, row 1 to 8.
CREATE TABLE IF NOT EXISTS public.apd_pixel_m (
  apd_id      text,
  batch_no    integer,
  target_degc integer,
  pixel_col   text,
  pixel_row   integer,
  pixel_m     double precision
);

-- Test stand: the straight-line fit of a board's high voltage.
CREATE TABLE IF NOT EXISTS public.feb_test_summary (
  febsn          text,
  hvfitintercept double precision,
  hvfitslope     double precision
);

-- From a DCM's port (location1 'DIBLK:nn', position1 'DCM:nn', port1 'PRT:nn') to the module whose board
-- hangs on it (location2 'BLK:nn', position2 'PLN:nn', port2 'POS:nn').
CREATE TABLE IF NOT EXISTS public.feb_comm_cables (
  cable_id  integer PRIMARY KEY,
  location1 text,
  position1 text,
  port1     text,
  location2 text,
  position2 text,
  port2     text
);

-- Near detector: what hangs on each DCM port; hw_type is 'APD', 'FEB' or 'MODULE'.
CREATE TABLE IF NOT EXISTS public.hardware_position (
  detector        text,
  dcm_name        text,
  dcm_port        integer,
  block           integer,
  plane           integer,
  module_position integer,
  install_date    timestamp with time zone,
  remove_date     timestamp with time zone,
  hw_type         text,
  serial          text
);
