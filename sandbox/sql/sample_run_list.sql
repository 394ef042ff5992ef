-- One row a run: how it differs from an ordinary one, whose values are the defaults.
CREATE TABLE sample.run (
  run            integer,
  tstart         timestamp,
  tstop          timestamp,
  configid       bigint,
  nsubruns       integer DEFAULT 20,
  nactivechan    integer,
  partition      integer DEFAULT 1,
  runtype        text DEFAULT 'Physics',
  diblocks       integer[],
  dcms           integer[] DEFAULT '{1,2,3,4,5,6,7,8,9,10,11,12}',
  absent         text[] DEFAULT '{}',
  event_builders integer,
  dbmask         integer,
  has_resources  boolean DEFAULT true,
  has_mask       boolean DEFAULT true,
  has_pot        boolean DEFAULT true,
  has_pot_value  boolean DEFAULT true,
  has_quality    boolean DEFAULT true
);

-- Rows beside the ordinary ones.
CREATE TABLE sample.odd_resource (run integer, resource_type text, appname text, detector text);
CREATE TABLE sample.odd_quality (run integer, version integer, subrun smallint, flag integer, miprate real,
                                 ngooddb integer, numslc real, trkfrac real);
CREATE TABLE sample.odd_pot (run integer, npot double precision);
