-- What keeps the store small and quick, and who may do what.

CREATE EXTENSION IF NOT EXISTS pg_trgm WITH SCHEMA public;

-- Makes an index for finding any text in the records of a day. Worth its time once the day is over:
-- the index would slow down storing. It serves conditions on encode(bytes, 'escape').
CREATE FUNCTION qv.index_text(wanted date) RETURNS void
LANGUAGE plpgsql SET search_path = public, pg_catalog AS $$
DECLARE
    partition text := 'record_' || to_char(wanted, 'YYYYMMDD');
BEGIN
    EXECUTE format('CREATE INDEX IF NOT EXISTS %I ON qv.%I USING gin '
                   '(encode(bytes, ''escape'') gin_trgm_ops) WITH (fastupdate = off)',
                   partition || '_text', partition);
END $$;

-- Removes the records of all days before the given one, and what is known of files that their hosts
-- have removed by then. Returns how many days were removed. Files that are still on their hosts
-- keep their rows: their shippers ask these what is stored.
CREATE FUNCTION qv.drop_days(before date) RETURNS integer
LANGUAGE plpgsql AS $$
DECLARE
    partition text;
    dropped integer := 0;
BEGIN
    FOR partition IN
        SELECT c.relname FROM pg_inherits i JOIN pg_class c ON c.oid = i.inhrelid
        WHERE i.inhparent = 'qv.record'::regclass
          AND c.relname < 'record_' || to_char(before, 'YYYYMMDD')
    LOOP
        EXECUTE format('DROP TABLE qv.%I', partition);
        dropped := dropped + 1;
    END LOOP;
    DELETE FROM qv.file WHERE gone < before AND changed < before;
    RETURN dropped;
END $$;

-- The hosts at a glance.
CREATE VIEW qv.fleet AS
SELECT h.host, h.seen, h.backlog, h.problem, count(f.id) AS files, max(f.changed) AS last_stored,
       coalesce(sum(f.stored), 0)::bigint AS stored, coalesce(sum(f.lost), 0)::bigint AS lost,
       (SELECT count(*) FROM qv.range r JOIN qv.file g ON g.id = r.file WHERE g.host = h.host)
           AS gaps
FROM qv.host h LEFT JOIN qv.file f ON f.host = h.host
GROUP BY h.host;

-- Storing needs qv_store, asking qv_ask. Give them to the users that shippers, collectors and people
-- log in with.
DO $$
BEGIN
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'qv_store') THEN
        CREATE ROLE qv_store NOLOGIN;
    END IF;
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'qv_ask') THEN
        CREATE ROLE qv_ask NOLOGIN;
    END IF;
END $$;
GRANT USAGE ON SCHEMA qv TO qv_store, qv_ask;
GRANT SELECT ON ALL TABLES IN SCHEMA qv TO qv_store, qv_ask;
GRANT INSERT ON qv.record TO qv_store;
GRANT INSERT, UPDATE ON qv.file, qv.host TO qv_store;
GRANT INSERT, DELETE ON qv.range, qv.chunk TO qv_store;
GRANT UPDATE (again) ON qv.file TO qv_ask;
REVOKE EXECUTE ON FUNCTION qv.make_day(date), qv.index_text(date), qv.drop_days(date) FROM PUBLIC;
GRANT EXECUTE ON FUNCTION qv.make_day(date) TO qv_store;
