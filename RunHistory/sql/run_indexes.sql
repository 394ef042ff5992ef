-- Indexes of the run tables; docs/operators.md says what each is good for. Each table is
-- asked for one run, in the order of the second column.
CREATE INDEX runs_run ON daq.runs (run);
CREATE INDEX daqresourcesbyrun_run ON daq.daqresourcesbyrun (run, appname);
CREATE INDEX gooddiblocksvsrun_run ON dataquality.gooddiblocksvsrun (run, inserttime DESC NULLS LAST);
CREATE INDEX dqsubruninfo_run ON dataquality.dqsubruninfo (run, version DESC NULLS LAST);
CREATE INDEX potbyrun_run ON beam.potbyrun (run);
