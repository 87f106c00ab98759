-- The table for pieces of log files that rsyslog brings; may be run again. It stands beside the tables
-- of qvlog's own roads, in the same database or another one:
--     psql --single-transaction --file store.sql postgresql://owner@store.example/logs
CREATE SCHEMA IF NOT EXISTS qv_rsyslog;

-- A piece is a frame, a short record or a mark, with the blank lines in front of it. The pieces of a
-- file in the order of their offsets, each with a newline behind it, are the file.
CREATE TABLE IF NOT EXISTS qv_rsyslog.piece (
    host text NOT NULL,
    path text NOT NULL,
    byte_offset bigint NOT NULL,  -- where the piece begins in the file
    received timestamptz NOT NULL DEFAULT now(),
    bytes bytea NOT NULL,         -- without the newline at its end
    PRIMARY KEY (host, path, byte_offset)
);
CREATE INDEX IF NOT EXISTS piece_received ON qv_rsyslog.piece USING brin (received);

-- What does not look like a piece. Nothing is refused: rsyslog would drop all of a batch.
CREATE TABLE IF NOT EXISTS qv_rsyslog.odd (
    received timestamptz NOT NULL DEFAULT now(),
    host text,
    path text,
    byte_offset text,
    text text
);

-- Where rsyslog inserts.
CREATE OR REPLACE VIEW qv_rsyslog.incoming AS
SELECT host, path, byte_offset::text, ''::text AS text FROM qv_rsyslog.piece WHERE false;

-- On a connection whose encoding is LATIN1 a character is a byte. On any other one, texts that are
-- UTF-8 are kept exactly.
CREATE OR REPLACE FUNCTION qv_rsyslog.take() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog AS $$
BEGIN
    IF NEW.byte_offset ~ '^[0-9]{1,18}$' AND length(NEW.host) BETWEEN 1 AND 255
       AND length(NEW.path) BETWEEN 1 AND 1000 AND NEW.text IS NOT NULL THEN
        INSERT INTO qv_rsyslog.piece (host, path, byte_offset, bytes)
        VALUES (NEW.host, NEW.path, NEW.byte_offset::bigint,
                CASE current_setting('client_encoding')
                    WHEN 'LATIN1' THEN convert_to(NEW.text, 'LATIN1')
                    ELSE convert_to(NEW.text, 'UTF8') END)
        ON CONFLICT DO NOTHING;
    ELSE
        INSERT INTO qv_rsyslog.odd (host, path, byte_offset, text)
        VALUES (NEW.host, NEW.path, NEW.byte_offset, NEW.text);
    END IF;
    RETURN NEW;
END $$;
CREATE OR REPLACE TRIGGER take INSTEAD OF INSERT ON qv_rsyslog.incoming
    FOR EACH ROW EXECUTE FUNCTION qv_rsyslog.take();

-- A time as it stands in the files; null for what only looks like one.
CREATE OR REPLACE FUNCTION qv_rsyslog.time_of(line text) RETURNS timestamptz
LANGUAGE plpgsql IMMUTABLE AS $$
BEGIN
    RETURN substring(line FROM
        '^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}(?:[.][0-9]{1,6})?(?:Z|[-+][0-9]{2}:?[0-9]{2})');
EXCEPTION WHEN data_exception THEN
    RETURN NULL;
END $$;

-- For questions, with the columns of qv.log as far as a piece tells them. A dump is one row: it has
-- the time of its first record, and level 0.
CREATE OR REPLACE VIEW qv_rsyslog.log AS
SELECT qv_rsyslog.time_of(header) AS time, host,
       CASE WHEN is_frame AND text LIKE '%, DL:0, File: %' THEN 0
            WHEN is_frame THEN substring(header FROM ', DL:(-?[0-9]{1,9}), ')::integer END AS level,
       CASE WHEN is_frame THEN substring(text FROM '^<([0-9]{1,18})>')::bigint END AS number,
       CASE WHEN is_frame THEN
           split_part(substr(header, strpos(header, ', ') + 2), ',TopT:', 1) END AS operation,
       text, substring(path FROM '[^/]*$') AS file, path, byte_offset
FROM qv_rsyslog.piece,
     LATERAL (SELECT encode(ltrim(bytes, '\x0a'), 'escape') AS text) AS line,
     LATERAL (SELECT text LIKE '<%' AS is_frame) AS kind,
     LATERAL (SELECT split_part(text, E'\n', CASE WHEN is_frame THEN 2 ELSE 1 END) AS header) AS head
WHERE text NOT LIKE 'File create at %' AND text NOT LIKE 'File close at %';

-- What there is of each file: `missing` bytes stand between its pieces and were not received. The
-- last piece of a file that is `closed` is its last one.
CREATE OR REPLACE VIEW qv_rsyslog.file AS
SELECT host, path, count(*) AS pieces, max(behind) AS bytes,
       sum(greatest(byte_offset - coalesce(before, 0), 0))::bigint AS missing,
       bool_or(substr(ltrim(bytes, '\x0a'), 1, 14) = 'File close at ') AS closed,
       max(received) AS received
FROM (SELECT *, byte_offset + length(bytes) + 1 AS behind,
             lag(byte_offset + length(bytes) + 1)
                 OVER (PARTITION BY host, path ORDER BY byte_offset) AS before
      FROM qv_rsyslog.piece) AS piece
GROUP BY host, path;

-- rsyslog's user gets qv_rsyslog, those who ask get qv_ask.
DO $$
BEGIN
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'qv_rsyslog') THEN
        CREATE ROLE qv_rsyslog NOLOGIN;
    END IF;
    IF NOT EXISTS (SELECT FROM pg_roles WHERE rolname = 'qv_ask') THEN
        CREATE ROLE qv_ask NOLOGIN;
    END IF;
END $$;
GRANT USAGE ON SCHEMA qv_rsyslog TO qv_rsyslog, qv_ask;
GRANT INSERT ON qv_rsyslog.incoming TO qv_rsyslog;
GRANT SELECT ON ALL TABLES IN SCHEMA qv_rsyslog TO qv_ask;
