-- A bound for the number of days. Each statement that looks at all records locks each day's table and
-- its indexes, and a server has room for some thousand locks.

-- Makes the partition of a day. Whoever stores calls it before the transaction with the rows.
--
-- Days of the last 400 and of the next 2 are always made. Others come from clocks that are wrong and
-- from very old files: there may be 100 of them, and the next one is refused with SQLSTATE 22008. A
-- table that has the day's name and is no part of qv.record is refused with 55000.
CREATE OR REPLACE FUNCTION qv.make_day(wanted date) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog AS $$
DECLARE
    prefix constant text := 'record_';
    partition constant text := prefix || to_char(wanted, 'YYYYMMDD');
    today constant date := (now() AT TIME ZONE 'UTC')::date;
    first_near constant date := today - 400;
    last_near constant date := today + 2;
    most_others constant integer := 100;
    is_near constant boolean := wanted BETWEEN first_near AND last_near;
    is_locked boolean := false;
    is_attached boolean;
BEGIN
    LOOP
        -- Asked by its name, the server would repeat what it knew before it waited for the lock.
        SELECT i.inhrelid IS NOT NULL INTO is_attached
        FROM pg_class c LEFT JOIN pg_inherits i
            ON i.inhrelid = c.oid AND i.inhparent = 'qv.record'::regclass AND NOT i.inhdetachpending
        WHERE c.relname = partition AND c.relnamespace = 'qv'::regnamespace;
        IF is_attached THEN
            RETURN;
        ELSIF NOT is_attached THEN
            RAISE EXCEPTION 'the table qv.% is there and is no part of qv.record', partition
                USING ERRCODE = 'object_not_in_prerequisite_state',
                      HINT = 'Attach it again, or give it another name.';
        END IF;
        EXIT WHEN is_locked;
        -- Whoever counts the others keeps them as many until it has made its own. That lock is always
        -- the first one, so that nobody waits in a circle.
        IF NOT is_near THEN
            PERFORM pg_advisory_xact_lock(7115);
        END IF;
        PERFORM pg_advisory_xact_lock(7113, wanted - date '1970-01-01');
        is_locked := true;
    END LOOP;
    IF NOT is_near AND most_others <= (
        SELECT count(*) FROM pg_inherits i JOIN pg_class c ON c.oid = i.inhrelid
        WHERE i.inhparent = 'qv.record'::regclass
          AND c.relname NOT BETWEEN prefix || to_char(first_near, 'YYYYMMDD')
                            AND prefix || to_char(last_near, 'YYYYMMDD')) THEN
        RAISE EXCEPTION 'no day % is made: the store has % days already that are not from % to %',
            wanted, most_others, first_near, last_near
            USING ERRCODE = 'datetime_field_overflow',
                  HINT = 'Look at the clock of the host, or remove days.';
    END IF;
    -- Attaching lets readers go on, where creating it as a partition would wait for them.
    EXECUTE format('CREATE TABLE qv.%I (LIKE qv.record INCLUDING DEFAULTS, '
                   'CONSTRAINT attached CHECK (day >= %L AND day < %L))',
                   partition, wanted, wanted + 1);
    EXECUTE format('ALTER TABLE qv.%I ALTER COLUMN bytes SET COMPRESSION lz4', partition);
    EXECUTE format('ALTER TABLE qv.record ATTACH PARTITION qv.%I FOR VALUES FROM (%L) TO (%L)',
                   partition, wanted, wanted + 1);
    -- It spared attaching a look at the rows. Kept, each row would be checked against it.
    EXECUTE format('ALTER TABLE qv.%I DROP CONSTRAINT attached', partition);
END $$;

-- Removes the records of the days before the given one, the oldest first and 300 at a time, and when
-- none is left what is known of files that their hosts have removed by then. Returns how many days
-- were removed, and notes how many are left. Files that are still on their hosts keep their rows: their
-- shippers ask these what is stored.
--
-- A day goes when nobody reads the records any more, and whoever stores waits behind that: so it is
-- given up after five seconds, with SQLSTATE 55P03, and no day has been removed then.
CREATE OR REPLACE FUNCTION qv.drop_days(before date) RETURNS integer
LANGUAGE plpgsql SET search_path = pg_catalog SET lock_timeout = '5s' AS $$
DECLARE
    partition text;
    dropped integer := 0;
    remaining integer := 0;
BEGIN
    -- Of two at once, the second one looks when the first one is done.
    PERFORM pg_advisory_xact_lock(7114);
    FOR partition IN
        SELECT c.relname FROM pg_inherits i JOIN pg_class c ON c.oid = i.inhrelid
        WHERE i.inhparent = 'qv.record'::regclass
          AND c.relname < 'record_' || to_char(before, 'YYYYMMDD')
        ORDER BY c.relname
    LOOP
        IF dropped < 300 THEN
            EXECUTE format('DROP TABLE IF EXISTS qv.%I', partition);
            dropped := dropped + 1;
        ELSE
            remaining := remaining + 1;
        END IF;
    END LOOP;
    IF remaining > 0 THEN
        RAISE NOTICE '% days are left: call it again', remaining;
        RETURN dropped;
    END IF;
    DELETE FROM qv.file WHERE gone < before AND changed < before;
    -- Chunks that came again after their piece was stored.
    DELETE FROM qv.chunk c USING qv.file f
    WHERE f.id = c.file AND c.piece < f.stored AND f.changed < before;
    RETURN dropped;
EXCEPTION WHEN lock_not_available THEN
    RAISE EXCEPTION 'somebody reads or removes the records: no day was removed'
        USING ERRCODE = 'lock_not_available', HINT = 'Try again when nobody reads.';
END $$;
