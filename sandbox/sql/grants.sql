-- What the library reads, table by table.
GRANT USAGE ON SCHEMA daq, dataquality, beam, millpondprod_factory, public, daqconfig, slowcontrol TO brio_reader;

GRANT SELECT ON
  daq.runs, daq.subruns, daq.daqresourcesbyrun,
  dataquality.gooddiblocksvsrun, dataquality.dqsubruninfo,
  beam.potbyrun
TO brio_reader;

GRANT SELECT ON
  millpondprod_factory.barcoded_item, millpondprod_factory.module, millpondprod_factory.apd,
  millpondprod_factory.module_apd_connection, millpondprod_factory.module_feb_connection,
  millpondprod_factory.brio_connection,
  public.apd_stats, public.apd_pixel_m, public.feb_test_summary, public.feb_comm_cables,
  public.hardware_position
TO brio_reader;

GRANT SELECT ON daqconfig.configurations, daqconfig.enable_masks, daqconfig.thresholds TO brio_reader;
GRANT SELECT ON slowcontrol.apd_settings TO brio_reader;
