-- Tables of the embedded DAQ-configuration look-ups (experiment/daqconfig). One row a configuration and DCM;
-- what the 64 boards of a DCM have is packed into one value, so that a whole detector travels in one small
-- result. The views below unpack it for people.
CREATE SCHEMA IF NOT EXISTS daqconfig;

CREATE TABLE IF NOT EXISTS daqconfig.configurations (
  config_id   bigint PRIMARY KEY,
  description text,
  created     timestamp
);

-- feb_enable_mask: bit p for port p. pixel_enable_masks: 64 big-endian 32-bit masks, by port, bit k for pixel k.
CREATE TABLE IF NOT EXISTS daqconfig.enable_masks (
  config_id          bigint NOT NULL,
  dcm_name           text   NOT NULL,
  feb_enable_mask    bigint NOT NULL,
  pixel_enable_masks bytea  NOT NULL CHECK (octet_length(pixel_enable_masks) = 256),
  PRIMARY KEY (config_id, dcm_name)
);

-- thresholds: 64 boards of 32 pixels, big-endian signed 16-bit ADC counts, by port, then pixel.
CREATE TABLE IF NOT EXISTS daqconfig.thresholds (
  config_id  bigint NOT NULL,
  dcm_name   text   NOT NULL,
  thresholds bytea  NOT NULL CHECK (octet_length(thresholds) = 4096),
  PRIMARY KEY (config_id, dcm_name)
);

-- Compression costs more time than it saves bytes here.
ALTER TABLE daqconfig.enable_masks ALTER pixel_enable_masks SET STORAGE EXTERNAL;
ALTER TABLE daqconfig.thresholds ALTER thresholds SET STORAGE EXTERNAL;

CREATE OR REPLACE VIEW daqconfig.pixel_thresholds AS
  SELECT config_id, dcm_name, port, pixel,
         (v # 32768) - 32768 AS threshold
  FROM daqconfig.thresholds, generate_series(0, 63) port, generate_series(0, 31) pixel,
       LATERAL (SELECT get_byte(thresholds, 2 * (32 * port + pixel)) * 256
                     + get_byte(thresholds, 2 * (32 * port + pixel) + 1)) AS packed (v);

CREATE OR REPLACE VIEW daqconfig.feb_masks AS
  SELECT config_id, dcm_name, port,
         (feb_enable_mask >> port) & 1 = 1 AS enabled,
         (get_byte(pixel_enable_masks, 4 * port)::bit(8) || get_byte(pixel_enable_masks, 4 * port + 1)::bit(8)
          || get_byte(pixel_enable_masks, 4 * port + 2)::bit(8)
          || get_byte(pixel_enable_masks, 4 * port + 3)::bit(8))::bit(32)::integer AS pixel_enable_mask
  FROM daqconfig.enable_masks, generate_series(0, 63) port;
