-- Removing days without keeping whoever stores waiting for long.

-- Removes the records of all days before the given one, and what is known of files that their hosts
-- have removed by then. Returns how many days were removed. Files that are still on their hosts
-- keep their rows: their shippers ask these what is stored.
--
-- A day goes when nobody reads the records any more, and whoever stores waits behind that: so it is
-- given up after five seconds, with SQLSTATE 55P03, and no day has been removed then.
CREATE OR REPLACE FUNCTION qv.drop_days(before date) RETURNS integer
LANGUAGE plpgsql SET search_path = pg_catalog SET lock_timeout = '5s' AS $$
DECLARE
    partition text;
    dropped integer := 0;
BEGIN
    -- Of two at once, the second one looks when the first one is done.
    PERFORM pg_advisory_xact_lock(7114);
    FOR partition IN
        SELECT c.relname FROM pg_inherits i JOIN pg_class c ON c.oid = i.inhrelid
        WHERE i.inhparent = 'qv.record'::regclass
          AND c.relname < 'record_' || to_char(before, 'YYYYMMDD')
    LOOP
        EXECUTE format('DROP TABLE IF EXISTS qv.%I', partition);
        dropped := dropped + 1;
    END LOOP;
    DELETE FROM qv.file WHERE gone < before AND changed < before;
    RETURN dropped;
EXCEPTION WHEN lock_not_available THEN
    RAISE EXCEPTION 'somebody reads or removes the records: no day was removed'
        USING ERRCODE = 'lock_not_available', HINT = 'Try again when nobody reads.';
END $$;
