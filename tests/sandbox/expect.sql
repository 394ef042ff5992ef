SET timezone = 'UTC';
SET datestyle = 'ISO';

-- expect(what, actual, expected): fails the script when the two differ. Its caller must give a row in any
-- case, so actual is an aggregate.
CREATE FUNCTION pg_temp.expect(what text, actual anyelement, expected anyelement) RETURNS void
LANGUAGE plpgsql AS $$
BEGIN
  IF actual IS DISTINCT FROM expected THEN
    RAISE EXCEPTION '%: found %, expected %', what, actual, expected;
  END IF;
END $$;
