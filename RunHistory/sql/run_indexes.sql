-- Indexes of the run tables; docs/operators.md says what each is good for. Each table is
-- asked for one run, in the order of the second column.
CREATE INDEX IF NOT EXISTS runs_run ON daq.runs (run);
CREATE INDEX IF NOT EXISTS daqresourcesbyrun_run ON daq.daqresourcesbyrun (run, appname);
CREATE INDEX IF NOT EXISTS gooddiblocksvsrun_run ON dataquality.gooddiblocksvsrun (run, inserttime DESC NULLS LAST);
CREATE INDEX IF NOT EXISTS dqsubruninfo_run ON dataquality.dqsubruninfo (run, version DESC NULLS LAST);
CREATE INDEX IF NOT EXISTS potbyrun_run ON beam.potbyrun (run);
