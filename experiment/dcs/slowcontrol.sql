-- Tables of the embedded slow-control look-up (experiment/dcs): what each APD was set to in a configuration.
-- A NULL is a value that was never recorded.
CREATE SCHEMA IF NOT EXISTS slowcontrol;

CREATE TABLE IF NOT EXISTS slowcontrol.apd_settings (
  config_id           bigint   NOT NULL,
  dcm_name            text     NOT NULL,
  port                smallint NOT NULL CHECK (port BETWEEN 0 AND 63),
  temperature_enabled boolean,
  temperature         double precision,
  voltage             integer,
  PRIMARY KEY (config_id, dcm_name, port)
);
