-- Who may enter. The superuser postgres owns everything.
SET password_encryption = 'scram-sha-256';

-- What jobs connect as: may read what the library reads, and nothing else (grants.sql).
CREATE ROLE brio_reader LOGIN;
-- The planner's picture of a server whose tables fit in memory; sorts of a detector's gains stay in memory.
ALTER ROLE brio_reader SET random_page_cost = 1.1;
ALTER ROLE brio_reader SET work_mem = '64MB';

-- For tests: the same rights behind a password, one that the server never lets in, one without any rights.
CREATE ROLE brio_password LOGIN PASSWORD 'sandbox-secret' IN ROLE brio_reader;
CREATE ROLE brio_limited LOGIN CONNECTION LIMIT 0 IN ROLE brio_reader;
CREATE ROLE brio_nobody LOGIN;
