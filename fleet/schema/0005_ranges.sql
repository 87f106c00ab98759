-- Ranges behind a gap are joined: a gap may stay, and what is stored behind it is one range then.

-- A part of a file was stored in this transaction. Moves `stored` on as far as there is no gap, and
-- joins the ranges behind a gap that touch each other. Call it for several files in the order of their
-- ids.
CREATE OR REPLACE FUNCTION qv.note_stored(wanted bigint, first_byte bigint, behind_byte bigint,
                                          is_closed boolean) RETURNS bigint
LANGUAGE plpgsql SET search_path = pg_catalog AS $$
DECLARE
    reached bigint;
    joined_first bigint;
    joined_behind bigint;
BEGIN
    SELECT stored INTO reached FROM qv.file WHERE id = wanted FOR UPDATE;
    WITH joined AS (
        DELETE FROM qv.range
        WHERE file = wanted AND first <= behind_byte AND behind >= first_byte
        RETURNING first, behind)
    SELECT least(first_byte, min(first)), greatest(behind_byte, max(behind))
    INTO joined_first, joined_behind FROM joined;
    IF joined_first > reached THEN
        INSERT INTO qv.range VALUES (wanted, joined_first, joined_behind);
    ELSE
        reached := greatest(reached, joined_behind);
    END IF;
    UPDATE qv.file SET stored = reached, size = greatest(size, behind_byte),
        closed = closed OR is_closed, changed = clock_timestamp() WHERE id = wanted;
    RETURN reached;
END $$;

-- What was noted without joining it. Who stores waits until it is done.
LOCK TABLE qv.range IN SHARE ROW EXCLUSIVE MODE;
CREATE TEMPORARY TABLE joined ON COMMIT DROP AS
WITH begun AS (
    SELECT file, first, behind,
           coalesce(first > max(behind) OVER (PARTITION BY file ORDER BY first, behind
                                              ROWS BETWEEN UNBOUNDED PRECEDING AND 1 PRECEDING),
                    true) AS is_new
    FROM qv.range),
numbered AS (
    SELECT file, first, behind,
           count(*) FILTER (WHERE is_new) OVER (PARTITION BY file ORDER BY first, behind) AS number
    FROM begun)
SELECT file, min(first) AS first, max(behind) AS behind FROM numbered GROUP BY file, number;
DELETE FROM qv.range;
INSERT INTO qv.range SELECT file, first, behind FROM joined;
DROP TABLE joined;
