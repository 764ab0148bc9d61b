-- The tables the reliability runs write: three parts per transaction and a
-- counter every committed transaction bumps once, so a lost update shows.
CREATE TABLE parts (txn integer NOT NULL, part integer NOT NULL, payload text, PRIMARY KEY (txn, part));
CREATE TABLE counter (id integer PRIMARY KEY, value integer NOT NULL);
INSERT INTO counter VALUES (1, 0);
CREATE TABLE outside (id integer PRIMARY KEY, at text);
