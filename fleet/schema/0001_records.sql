-- The records of all hosts' log files, and what is known of the files.

-- What a row of qv.record is: the kinds of records, the marks at both ends of a file, and what
-- belongs to no record (a torn frame whose header is incomplete, bytes that belong to nothing).
CREATE TYPE qv.kind AS ENUM
    ('record', 'dump', 'dumped', 'short', 'created', 'closed', 'torn', 'garbage');

-- One row for each contents that a name had on a host. A file that is full within its second is
-- emptied under its name and begins again: its first line, which has microseconds, is another then.
CREATE TABLE qv.file (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    host text NOT NULL,
    name text NOT NULL,               -- without the directory
    identity bytea NOT NULL,          -- the first line of the file, at most 256 bytes
    category text NOT NULL,
    process bigint NOT NULL,
    stored bigint NOT NULL DEFAULT 0, -- everything in front of this offset is in qv.record
    size bigint NOT NULL DEFAULT 0,   -- of the file, as far as it is known
    closed boolean NOT NULL DEFAULT false,    -- its last line is stored and says that it is done
    complete boolean NOT NULL DEFAULT false,  -- nobody writes it any more, `size` is its size
    gone timestamptz,                 -- when its host had no such file any more
    lost bigint NOT NULL DEFAULT 0,   -- bytes that were gone before they were sent
    again timestamptz,                -- set this to have all of the file sent again
    changed timestamptz NOT NULL DEFAULT now(),  -- when `stored` grew last
    UNIQUE (host, name, identity)
);
CREATE INDEX file_changed ON qv.file (changed);
CREATE INDEX file_again ON qv.file (host) WHERE again IS NOT NULL;

-- Parts of a file that are stored beyond a gap: several collectors overtake each other.
CREATE TABLE qv.range (
    file bigint NOT NULL REFERENCES qv.file ON DELETE CASCADE,
    first bigint NOT NULL,
    behind bigint NOT NULL,
    PRIMARY KEY (file, first, behind)
);

-- Parts of pieces that are larger than a message, until all of the piece is there.
CREATE TABLE qv.chunk (
    file bigint NOT NULL REFERENCES qv.file ON DELETE CASCADE,
    piece bigint NOT NULL,        -- where the piece begins in the file
    byte_offset bigint NOT NULL,  -- where the chunk does
    bytes bytea NOT NULL,
    PRIMARY KEY (file, piece, byte_offset)
);

-- One row for each piece of a file, and one for each record inside a dump. The bytes of all rows of
-- a file but the dumped ones, in the order of their offsets, are the file. The columns are made from
-- `bytes` and serve finding: texts in them are cut to 1000 bytes, and what is no UTF-8 is replaced.
-- Wide columns stand in front of narrow ones, which leaves no bytes unused between them.
CREATE TABLE qv.record (
    file bigint NOT NULL,        -- qv.file.id
    byte_offset bigint NOT NULL, -- where it begins in the file
    time timestamptz NOT NULL,   -- of a piece without a time: the day in the file's name
    number bigint,               -- of the frame that it stands in; null for short records
    dump_offset bigint,          -- of a dumped record: where its dump begins in the file
    operation_thread bigint,     -- null for short records; so are the next two and the texts
    thread bigint,
    line bigint,
    day date NOT NULL,           -- of `time` in UTC, from 1970 to 2199
    kind qv.kind NOT NULL,
    level integer,               -- null for what is no record; so is all that may be null
    torn boolean NOT NULL,       -- its end is missing
    operation text COLLATE "C",  -- comparing bytes makes its index cheap
    interface text,
    user_name text,
    source text,                 -- file name, without the line
    function text,
    bytes bytea NOT NULL,        -- exactly as they stand in the file
    PRIMARY KEY (file, byte_offset, day)
) PARTITION BY RANGE (day);

-- Rows come about in the order of their time, so that a summary of each block of pages is enough.
CREATE INDEX record_time ON qv.record USING brin (time) WITH (pages_per_range = 32);
CREATE INDEX record_operation ON qv.record (operation) WHERE operation <> '';
CREATE INDEX record_error ON qv.record (time) WHERE level = 0;

-- Makes the partition of a day. Whoever stores calls it before the transaction with the rows.
CREATE FUNCTION qv.make_day(wanted date) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog AS $$
DECLARE
    partition text := 'record_' || to_char(wanted, 'YYYYMMDD');
BEGIN
    IF to_regclass('qv.' || partition) IS NOT NULL THEN
        RETURN;
    END IF;
    PERFORM pg_advisory_xact_lock(7113, wanted - date '1970-01-01');
    -- Another one may have made it meanwhile. Asked by its name again, the server would repeat what it
    -- knew before it waited.
    PERFORM FROM pg_class WHERE relname = partition AND relnamespace = 'qv'::regnamespace;
    IF FOUND THEN
        RETURN;
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

-- A part of a file was stored in this transaction. Moves `stored` on as far as there is no gap.
-- Call it for several files in the order of their ids.
CREATE FUNCTION qv.note_stored(wanted bigint, first_byte bigint, behind_byte bigint,
                               is_closed boolean) RETURNS bigint
LANGUAGE plpgsql SET search_path = pg_catalog AS $$
DECLARE
    reached bigint;
    moved bigint;
BEGIN
    SELECT stored INTO reached FROM qv.file WHERE id = wanted FOR UPDATE;
    IF first_byte > reached THEN
        INSERT INTO qv.range VALUES (wanted, first_byte, behind_byte) ON CONFLICT DO NOTHING;
    ELSE
        reached := greatest(reached, behind_byte);
        LOOP
            WITH joined AS (
                DELETE FROM qv.range WHERE file = wanted AND first <= reached RETURNING behind)
            SELECT max(behind) INTO moved FROM joined;
            EXIT WHEN moved IS NULL;
            reached := greatest(reached, moved);
        END LOOP;
    END IF;
    UPDATE qv.file SET stored = reached, size = greatest(size, behind_byte),
        closed = closed OR is_closed, changed = clock_timestamp() WHERE id = wanted;
    RETURN reached;
END $$;

-- What each host says about itself every few seconds.
CREATE TABLE qv.host (
    host text PRIMARY KEY,
    seen timestamptz NOT NULL,   -- when it said so
    backlog bigint NOT NULL,     -- bytes on the host that are not sent yet
    files bigint NOT NULL,       -- log files on the host
    problem text NOT NULL DEFAULT ''  -- the last trouble of sending; empty: there is none
);

-- For questions in SQL: one row for each record, in words.
CREATE VIEW qv.log AS
SELECT r.time, f.host, f.category, f.process, r.level, r.kind, r.number, r.operation, r.interface,
       r.user_name, r.thread, r.source, r.line, r.function, r.torn,
       encode(r.bytes, 'escape') AS text, f.name AS file, r.byte_offset, r.dump_offset, r.day,
       r.file AS file_id
FROM qv.record r JOIN qv.file f ON f.id = r.file
WHERE r.level IS NOT NULL;
