-- Appliance controller database: tables, finder indexes, state lookup rows
-- and the change-journal triggers that feed library_event.
--
-- Create a database with:   sqlite3 state.db < schema.sql
-- Loading it again into an existing database is harmless: every statement
-- is IF NOT EXISTS or INSERT OR IGNORE. The file holds no transaction
-- control, so it can also be run inside a caller's savepoint.

-- Reporting history -------------------------------------------------------

CREATE TABLE IF NOT EXISTS trend_drivestatistics (
    id           integer PRIMARY KEY,
    slot_number  integer,
    mount_time   datetime,
    unmount_time datetime,
    volser       text
);

CREATE TABLE IF NOT EXISTS trend_tapealert (
    id         integer PRIMARY KEY,
    serial_num text,
    volser     text,
    tape_alert integer,
    time_stamp datetime
);

-- Media scanning ----------------------------------------------------------

CREATE TABLE IF NOT EXISTS vigil_actiontype (
    id          integer PRIMARY KEY,
    name        text,
    version     text,
    description text
);

CREATE TABLE IF NOT EXISTS vigil_action (
    id             integer PRIMARY KEY,
    name           text,
    action_type_id integer REFERENCES vigil_actiontype(id),
    host           text,
    port           integer,
    failover_host  text,
    failover_port  integer
);

CREATE TABLE IF NOT EXISTS vigil_policy (
    id                        integer PRIMARY KEY,
    partition                 integer,
    action_id                 integer REFERENCES vigil_action(id),
    basic_interval            integer,
    normal_interval           integer,
    full_interval             integer,
    ta_threshold              integer,
    ta_scan_type              integer,
    import_scan_type          integer,
    suspect_count_scan_type   integer,
    post_ras_fail_type        integer,
    concurrent_scans          integer,
    priority                  integer,
    export_media_fail_type    integer,
    request_copy_fail_type    integer,
    report_media_inaccessible boolean,
    paused                    boolean
);

CREATE TABLE IF NOT EXISTS vigil_media (
    id                      integer PRIMARY KEY,
    serial_number           text,
    voltag                  text,
    scan_now_type           integer,
    copy_attempts_remaining integer,
    last_basic_scan         datetime,
    last_normal_scan        datetime,
    last_full_scan          datetime
);

CREATE TABLE IF NOT EXISTS vigil_mediapolicy (
    id                      integer PRIMARY KEY,
    serial_number           text,
    voltag                  text,
    partition_name          text,
    policy_id               integer REFERENCES vigil_policy(id),
    scan_now_type           integer,
    copy_attempts_remaining integer,
    last_basic_scan         datetime,
    last_normal_scan        datetime,
    last_full_scan          datetime
);

CREATE TABLE IF NOT EXISTS vigil_scancandidate (
    id         integer PRIMARY KEY,
    voltag     text,
    scan_type  integer,
    partition  integer,
    element_id integer,
    priority   integer
);

CREATE TABLE IF NOT EXISTS vigil_nextscan (
    id     integer PRIMARY KEY,
    moment datetime
);

CREATE TABLE IF NOT EXISTS vigil_concurrentremaining (
    id        integer PRIMARY KEY,
    remaining integer
);

CREATE TABLE IF NOT EXISTS vigil_settings (
    id    integer PRIMARY KEY,
    name  text,
    value integer
);

-- Robot library, change journal and command channel -----------------------

CREATE TABLE IF NOT EXISTS library_partition (
    id                   integer PRIMARY KEY,
    guid                 text,
    name                 text,
    media_label_checking integer,
    library_managed      boolean,
    online               boolean
);

CREATE TABLE IF NOT EXISTS library_element (
    id                  integer PRIMARY KEY,
    slot_number         integer,
    partition_id        integer REFERENCES library_partition(id),
    scsi_type           integer,
    geo_location        text,
    source_geo_location text,
    element_access      boolean,
    element_except      boolean,
    element_full        boolean,
    volser              text,
    add_descriptor      blob,
    scan_in_progress    boolean
);

-- AUTOINCREMENT so that journal ids are never reused after old rows are
-- pruned: readers keep a "next id" cursor into this table.
CREATE TABLE IF NOT EXISTS library_event (
    id            integer PRIMARY KEY AUTOINCREMENT,
    which_table   text,
    row_id        integer,
    action_column text,
    old_value     text,
    new_value     text,
    event_time    datetime
);

CREATE TABLE IF NOT EXISTS library_crendpoint (
    id   integer PRIMARY KEY,
    name text
);

CREATE TABLE IF NOT EXISTS library_croperation (
    id   integer PRIMARY KEY,
    name text
);

CREATE TABLE IF NOT EXISTS library_crstate (
    id   integer PRIMARY KEY,
    name text
);

-- target_id has no REFERENCES: one-way events are posted with target 0,
-- which names no endpoint.
CREATE TABLE IF NOT EXISTS library_commandresponse (
    id              integer PRIMARY KEY,
    source_id       integer REFERENCES library_crendpoint(id),
    operation_id    integer REFERENCES library_croperation(id),
    string_argument text,
    int_argument    integer,
    target_id       integer,
    end_time        datetime,
    start_time      datetime,
    result          integer,
    result_string   text,
    state_id        integer REFERENCES library_crstate(id)
);

-- Cartridges and media tests ----------------------------------------------

CREATE TABLE IF NOT EXISTS media_media (
    id               integer PRIMARY KEY,
    serial_number    text,
    cartridge_type   integer,
    manufacturer     text,
    manufacture_date datetime,
    block_protection boolean
);

CREATE TABLE IF NOT EXISTS media_session (
    id                integer PRIMARY KEY,
    start_date        datetime,
    end_date          datetime,
    num_incomplete    integer,
    num_good          integer,
    num_bad           integer,
    num_suspect       integer,
    num_unsupported   integer,
    test_state        integer,
    continue_on_error boolean,
    started           boolean
);

CREATE TABLE IF NOT EXISTS media_sessionresults (
    id                      integer PRIMARY KEY,
    element_id              integer,
    voltag                  text,
    session_id              integer REFERENCES media_session(id),
    media_id                integer REFERENCES media_media(id),
    drive_id                text,
    last_run_date           datetime,
    test_state              integer,
    test_type               integer,
    test_result             integer,
    static_test_status      integer,
    static_test_error_code  integer,
    dynamic_test_status     integer,
    dynamic_test_error_code integer,
    priority                integer
);

CREATE TABLE IF NOT EXISTS media_sessiondrive (
    id                 integer PRIMARY KEY,
    session_id         integer REFERENCES media_session(id),
    drive              integer,
    session_results_id integer REFERENCES media_sessionresults(id),
    in_use             boolean,
    blade              text,
    serial_number      text,
    last_tape_alert    integer,
    drive_type         integer
);

-- session_id is deliberately a plain integer, not a reference.
CREATE TABLE IF NOT EXISTS media_sessionresultsmedia (
    id         integer PRIMARY KEY,
    session_id integer
);

CREATE TABLE IF NOT EXISTS media_settings (
    id    integer PRIMARY KEY,
    name  text,
    value integer
);

-- Cartridge memory and drive log pages ------------------------------------

CREATE TABLE IF NOT EXISTS media_applicationdata (
    id                   integer PRIMARY KEY,
    media_id             integer REFERENCES media_media(id),
    vendor               text,
    name                 text,
    version              text,
    user_text_label      text,
    last_written         datetime,
    text_localisation_id integer,
    barcode              text,
    owning_host          text,
    media_pool           text
);

CREATE TABLE IF NOT EXISTS media_cartridgestatus (
    id                             integer PRIMARY KEY,
    media_id                       integer REFERENCES media_media(id),
    tape_alert_flags               bigint,
    thread_count                   integer,
    status                         integer,
    first_encrypted_logical_object bigint
);

CREATE TABLE IF NOT EXISTS media_dynamicdata (
    id                        integer PRIMARY KEY,
    media_id                  integer REFERENCES media_media(id),
    wrap                      integer,
    region                    integer,
    errors_corrected_wo_delay integer,
    errors_corrected_delay    integer,
    corrected_errors          integer,
    uncorrected_errors        integer,
    total_errors              integer,
    error_corrections_invoked integer,
    bytes_processed           integer,
    tape_alert_flags_hi       integer,
    tape_alert_flags_lo       integer,
    ds_read                   integer,
    read_retries              integer,
    unrecoverable_errors      integer,
    device_status_bits        integer
);

CREATE TABLE IF NOT EXISTS media_eodinformation (
    id              integer PRIMARY KEY,
    media_id        integer REFERENCES media_media(id),
    write_pass      integer,
    thread_count    integer,
    record_count    bigint,
    file_mark_count bigint,
    data_set_number integer,
    wrap_number     integer,
    validity        integer
);

CREATE TABLE IF NOT EXISTS media_errorusage (
    id                         integer PRIMARY KEY,
    media_id                   integer REFERENCES media_media(id),
    is_read_error              integer,
    drive_manufacturer         text,
    drive_id                   text,
    drive_generation           integer,
    firmware_identity          integer,
    suspended_writes_at_append integer,
    thread_count               integer,
    data_sets_written          bigint,
    data_sets_read             bigint,
    write_retries              integer,
    read_retries               integer,
    unrecovered_write_errors   integer,
    unrecovered_read_errors    integer,
    suspended_writes           integer,
    fatal_suspended_writes     integer,
    write_pass                 integer,
    data_set                   integer,
    data_set_physical_position integer,
    data_set_wrap_number       integer
);

CREATE TABLE IF NOT EXISTS media_usageinformation (
    id                         integer PRIMARY KEY,
    media_id                   integer REFERENCES media_media(id),
    page_id                    integer,
    drive_manufacturer         text,
    drive_id                   text,
    suspended_writes_at_append integer,
    thread_count               integer,
    data_sets_written          bigint,
    data_sets_read             bigint,
    write_retries              integer,
    read_retries               integer,
    unrecovered_write_errors   integer,
    unrecovered_read_errors    integer,
    suspended_writes           integer,
    fatal_suspended_writes     integer
);

CREATE TABLE IF NOT EXISTS media_wrapentry (
    id                  integer PRIMARY KEY,
    media_id            integer REFERENCES media_media(id),
    wrap_entry_num      integer,
    write_pass          integer,
    data_set            integer,
    how_count           integer,
    eow_count           integer,
    how_file_mark_count integer,
    eow_file_mark_count integer,
    file_mark_map       integer
);

CREATE TABLE IF NOT EXISTS media_writepass (
    id           integer PRIMARY KEY,
    media_id     integer REFERENCES media_media(id),
    write_pass_0 integer,
    write_pass_1 integer,
    write_pass_2 integer,
    write_pass_3 integer,
    write_pass_4 integer,
    write_pass_5 integer,
    write_pass_6 integer,
    write_pass_7 integer
);

-- Finder lookups. Not unique: a finder reports a duplicated key as an error
-- rather than the database refusing the second row.

CREATE INDEX IF NOT EXISTS library_partition_guid_idx ON library_partition (guid);
CREATE INDEX IF NOT EXISTS vigil_settings_name_idx ON vigil_settings (name);
CREATE INDEX IF NOT EXISTS media_settings_name_idx ON media_settings (name);
CREATE INDEX IF NOT EXISTS media_applicationdata_media_id_idx ON media_applicationdata (media_id);
CREATE INDEX IF NOT EXISTS media_cartridgestatus_media_id_idx ON media_cartridgestatus (media_id);
CREATE INDEX IF NOT EXISTS media_eodinformation_media_id_idx ON media_eodinformation (media_id);
CREATE INDEX IF NOT EXISTS media_writepass_media_id_idx ON media_writepass (media_id);

-- Command states, by the ids the command channel writes. Inserted before the
-- triggers exist so that a fresh database starts with an empty journal.

INSERT OR IGNORE INTO library_crstate (id, name) VALUES (1, 'new');
INSERT OR IGNORE INTO library_crstate (id, name) VALUES (2, 'accepted');
INSERT OR IGNORE INTO library_crstate (id, name) VALUES (3, 'completed');
INSERT OR IGNORE INTO library_crstate (id, name) VALUES (4, 'timed_out');

-- Change journal ----------------------------------------------------------
-- Every change to a table writes one library_event row that listeners poll
-- for: action_column is 'INSERT', 'UPDATE' or 'DELETE'. Commands are watched
-- by state instead of by any update: a changed state_id is journalled under
-- the column's own name with its old and new value.
-- library_event itself is never journalled.

-- trend_drivestatistics
CREATE TRIGGER IF NOT EXISTS trend_drivestatistics_journal_insert
AFTER INSERT ON trend_drivestatistics
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_drivestatistics', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS trend_drivestatistics_journal_update
AFTER UPDATE ON trend_drivestatistics
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_drivestatistics', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS trend_drivestatistics_journal_delete
AFTER DELETE ON trend_drivestatistics
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_drivestatistics', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- trend_tapealert
CREATE TRIGGER IF NOT EXISTS trend_tapealert_journal_insert
AFTER INSERT ON trend_tapealert
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_tapealert', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS trend_tapealert_journal_update
AFTER UPDATE ON trend_tapealert
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_tapealert', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS trend_tapealert_journal_delete
AFTER DELETE ON trend_tapealert
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('trend_tapealert', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_actiontype
CREATE TRIGGER IF NOT EXISTS vigil_actiontype_journal_insert
AFTER INSERT ON vigil_actiontype
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_actiontype', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_actiontype_journal_update
AFTER UPDATE ON vigil_actiontype
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_actiontype', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_actiontype_journal_delete
AFTER DELETE ON vigil_actiontype
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_actiontype', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_action
CREATE TRIGGER IF NOT EXISTS vigil_action_journal_insert
AFTER INSERT ON vigil_action
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_action', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_action_journal_update
AFTER UPDATE ON vigil_action
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_action', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_action_journal_delete
AFTER DELETE ON vigil_action
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_action', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_policy
CREATE TRIGGER IF NOT EXISTS vigil_policy_journal_insert
AFTER INSERT ON vigil_policy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_policy', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_policy_journal_update
AFTER UPDATE ON vigil_policy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_policy', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_policy_journal_delete
AFTER DELETE ON vigil_policy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_policy', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_media
CREATE TRIGGER IF NOT EXISTS vigil_media_journal_insert
AFTER INSERT ON vigil_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_media', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_media_journal_update
AFTER UPDATE ON vigil_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_media', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_media_journal_delete
AFTER DELETE ON vigil_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_media', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_mediapolicy
CREATE TRIGGER IF NOT EXISTS vigil_mediapolicy_journal_insert
AFTER INSERT ON vigil_mediapolicy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_mediapolicy', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_mediapolicy_journal_update
AFTER UPDATE ON vigil_mediapolicy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_mediapolicy', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_mediapolicy_journal_delete
AFTER DELETE ON vigil_mediapolicy
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_mediapolicy', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_scancandidate
CREATE TRIGGER IF NOT EXISTS vigil_scancandidate_journal_insert
AFTER INSERT ON vigil_scancandidate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_scancandidate', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_scancandidate_journal_update
AFTER UPDATE ON vigil_scancandidate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_scancandidate', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_scancandidate_journal_delete
AFTER DELETE ON vigil_scancandidate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_scancandidate', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_nextscan
CREATE TRIGGER IF NOT EXISTS vigil_nextscan_journal_insert
AFTER INSERT ON vigil_nextscan
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_nextscan', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_nextscan_journal_update
AFTER UPDATE ON vigil_nextscan
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_nextscan', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_nextscan_journal_delete
AFTER DELETE ON vigil_nextscan
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_nextscan', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_concurrentremaining
CREATE TRIGGER IF NOT EXISTS vigil_concurrentremaining_journal_insert
AFTER INSERT ON vigil_concurrentremaining
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_concurrentremaining', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_concurrentremaining_journal_update
AFTER UPDATE ON vigil_concurrentremaining
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_concurrentremaining', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_concurrentremaining_journal_delete
AFTER DELETE ON vigil_concurrentremaining
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_concurrentremaining', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- vigil_settings
CREATE TRIGGER IF NOT EXISTS vigil_settings_journal_insert
AFTER INSERT ON vigil_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_settings', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_settings_journal_update
AFTER UPDATE ON vigil_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_settings', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS vigil_settings_journal_delete
AFTER DELETE ON vigil_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('vigil_settings', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_partition
CREATE TRIGGER IF NOT EXISTS library_partition_journal_insert
AFTER INSERT ON library_partition
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_partition', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_partition_journal_update
AFTER UPDATE ON library_partition
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_partition', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_partition_journal_delete
AFTER DELETE ON library_partition
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_partition', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_element
CREATE TRIGGER IF NOT EXISTS library_element_journal_insert
AFTER INSERT ON library_element
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_element', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_element_journal_update
AFTER UPDATE ON library_element
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_element', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_element_journal_delete
AFTER DELETE ON library_element
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_element', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_crendpoint
CREATE TRIGGER IF NOT EXISTS library_crendpoint_journal_insert
AFTER INSERT ON library_crendpoint
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crendpoint', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_crendpoint_journal_update
AFTER UPDATE ON library_crendpoint
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crendpoint', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_crendpoint_journal_delete
AFTER DELETE ON library_crendpoint
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crendpoint', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_croperation
CREATE TRIGGER IF NOT EXISTS library_croperation_journal_insert
AFTER INSERT ON library_croperation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_croperation', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_croperation_journal_update
AFTER UPDATE ON library_croperation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_croperation', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_croperation_journal_delete
AFTER DELETE ON library_croperation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_croperation', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_crstate
CREATE TRIGGER IF NOT EXISTS library_crstate_journal_insert
AFTER INSERT ON library_crstate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crstate', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_crstate_journal_update
AFTER UPDATE ON library_crstate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crstate', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_crstate_journal_delete
AFTER DELETE ON library_crstate
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_crstate', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- library_commandresponse
CREATE TRIGGER IF NOT EXISTS library_commandresponse_journal_insert
AFTER INSERT ON library_commandresponse
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_commandresponse', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_commandresponse_journal_state_id
AFTER UPDATE OF state_id ON library_commandresponse
WHEN OLD.state_id IS NOT NEW.state_id
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_commandresponse', NEW.id, 'state_id',
            COALESCE(CAST(OLD.state_id AS text), ''), COALESCE(CAST(NEW.state_id AS text), ''), CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS library_commandresponse_journal_delete
AFTER DELETE ON library_commandresponse
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('library_commandresponse', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_media
CREATE TRIGGER IF NOT EXISTS media_media_journal_insert
AFTER INSERT ON media_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_media', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_media_journal_update
AFTER UPDATE ON media_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_media', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_media_journal_delete
AFTER DELETE ON media_media
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_media', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_session
CREATE TRIGGER IF NOT EXISTS media_session_journal_insert
AFTER INSERT ON media_session
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_session', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_session_journal_update
AFTER UPDATE ON media_session
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_session', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_session_journal_delete
AFTER DELETE ON media_session
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_session', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_sessionresults
CREATE TRIGGER IF NOT EXISTS media_sessionresults_journal_insert
AFTER INSERT ON media_sessionresults
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresults', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessionresults_journal_update
AFTER UPDATE ON media_sessionresults
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresults', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessionresults_journal_delete
AFTER DELETE ON media_sessionresults
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresults', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_sessiondrive
CREATE TRIGGER IF NOT EXISTS media_sessiondrive_journal_insert
AFTER INSERT ON media_sessiondrive
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessiondrive', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessiondrive_journal_update
AFTER UPDATE ON media_sessiondrive
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessiondrive', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessiondrive_journal_delete
AFTER DELETE ON media_sessiondrive
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessiondrive', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_sessionresultsmedia
CREATE TRIGGER IF NOT EXISTS media_sessionresultsmedia_journal_insert
AFTER INSERT ON media_sessionresultsmedia
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresultsmedia', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessionresultsmedia_journal_update
AFTER UPDATE ON media_sessionresultsmedia
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresultsmedia', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_sessionresultsmedia_journal_delete
AFTER DELETE ON media_sessionresultsmedia
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_sessionresultsmedia', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_settings
CREATE TRIGGER IF NOT EXISTS media_settings_journal_insert
AFTER INSERT ON media_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_settings', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_settings_journal_update
AFTER UPDATE ON media_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_settings', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_settings_journal_delete
AFTER DELETE ON media_settings
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_settings', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_applicationdata
CREATE TRIGGER IF NOT EXISTS media_applicationdata_journal_insert
AFTER INSERT ON media_applicationdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_applicationdata', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_applicationdata_journal_update
AFTER UPDATE ON media_applicationdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_applicationdata', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_applicationdata_journal_delete
AFTER DELETE ON media_applicationdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_applicationdata', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_cartridgestatus
CREATE TRIGGER IF NOT EXISTS media_cartridgestatus_journal_insert
AFTER INSERT ON media_cartridgestatus
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_cartridgestatus', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_cartridgestatus_journal_update
AFTER UPDATE ON media_cartridgestatus
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_cartridgestatus', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_cartridgestatus_journal_delete
AFTER DELETE ON media_cartridgestatus
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_cartridgestatus', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_dynamicdata
CREATE TRIGGER IF NOT EXISTS media_dynamicdata_journal_insert
AFTER INSERT ON media_dynamicdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_dynamicdata', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_dynamicdata_journal_update
AFTER UPDATE ON media_dynamicdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_dynamicdata', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_dynamicdata_journal_delete
AFTER DELETE ON media_dynamicdata
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_dynamicdata', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_eodinformation
CREATE TRIGGER IF NOT EXISTS media_eodinformation_journal_insert
AFTER INSERT ON media_eodinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_eodinformation', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_eodinformation_journal_update
AFTER UPDATE ON media_eodinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_eodinformation', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_eodinformation_journal_delete
AFTER DELETE ON media_eodinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_eodinformation', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_errorusage
CREATE TRIGGER IF NOT EXISTS media_errorusage_journal_insert
AFTER INSERT ON media_errorusage
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_errorusage', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_errorusage_journal_update
AFTER UPDATE ON media_errorusage
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_errorusage', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_errorusage_journal_delete
AFTER DELETE ON media_errorusage
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_errorusage', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_usageinformation
CREATE TRIGGER IF NOT EXISTS media_usageinformation_journal_insert
AFTER INSERT ON media_usageinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_usageinformation', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_usageinformation_journal_update
AFTER UPDATE ON media_usageinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_usageinformation', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_usageinformation_journal_delete
AFTER DELETE ON media_usageinformation
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_usageinformation', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_wrapentry
CREATE TRIGGER IF NOT EXISTS media_wrapentry_journal_insert
AFTER INSERT ON media_wrapentry
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_wrapentry', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_wrapentry_journal_update
AFTER UPDATE ON media_wrapentry
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_wrapentry', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_wrapentry_journal_delete
AFTER DELETE ON media_wrapentry
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_wrapentry', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;

-- media_writepass
CREATE TRIGGER IF NOT EXISTS media_writepass_journal_insert
AFTER INSERT ON media_writepass
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_writepass', NEW.id, 'INSERT', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_writepass_journal_update
AFTER UPDATE ON media_writepass
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_writepass', NEW.id, 'UPDATE', '', '', CURRENT_TIMESTAMP);
END;

CREATE TRIGGER IF NOT EXISTS media_writepass_journal_delete
AFTER DELETE ON media_writepass
BEGIN
    INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, event_time)
    VALUES ('media_writepass', OLD.id, 'DELETE', '', '', CURRENT_TIMESTAMP);
END;
