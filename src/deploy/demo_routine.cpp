// The stored routine that sets up a demonstration server from the machine it
// finds itself on: spaces from a storage pool, logs, tuned parameters.
#include "deploy/demo_routine.hpp"

#include <initializer_list>
#include <string_view>

namespace dpl::deploy {
namespace {

// Lines of the routine, each written with its line end; trailing blanks are
// part of the text.
void lines(std::string &text, std::initializer_list<std::string_view> list) {
    for (const std::string_view line : list) text.append(line).append("\n");
}

// "LET result =  admin(<arguments>); ", the form of every pool statement.
void pool_statement(std::string &text, std::string_view arguments) {
    text.append("LET result =  admin(").append(arguments).append("); \n");
}

// "LET result = admin('modify config persistent','<name>','<value>');"
void persistent(std::string &text, std::string_view name, std::string_view value) {
    text.append("LET result = admin('modify config persistent','")
        .append(name)
        .append("','")
        .append(value)
        .append("');\n");
}

void head(std::string &text, bool json_listener) {
    lines(text, {"DROP FUNCTION IF EXISTS qvx_setup_system( VARCHAR(255) );",
                 "CREATE FUNCTION qvx_setup_system( data_path VARCHAR(255) DEFAULT '$ORVANDEXDIR/tmp') ",
                 "RETURNING INTEGER", "DEFINE result  INTEGER;", "DEFINE tmp     BIGINT;",
                 "DEFINE server_size     VARCHAR(32);", "DEFINE space_size      INTEGER;",
                 "DEFINE qvxdir          VARCHAR(255);"});
    if (json_listener) lines(text, {"DEFINE json_listener   VARCHAR(64);"});
    lines(text,
          {"DEFINE os_memfree      BIGINT;", "DEFINE os_cpu_count    INTEGER;",
           "DEFINE cdr_queuemem_var  INTEGER;", "DEFINE tmpstr          LVARCHAR(1024);",
           "DEFINE tmpint          INTEGER;", "DEFINE dbservname      VARCHAR(128);", "", "",
           "LET qvxdir = (SELECT env_value ", "FROM sysmaster:sysenv ", "WHERE env_name = 'ORVANDEXDIR');",
           "--SET DEBUG FILE TO TRIM(qvxdir)||'/tmp/orvandex_setup.out';",
           "--SET DEBUG FILE TO '/tmp/orvandex_setup.out';", "--TRACE ON;", ""});
    if (json_listener) lines(text, {"LET json_listener = 'jsonListener.properties';"});
    lines(text, {"LET os_memfree = (select os_mem_free/(1024*1024) FROM ", "sysmaster:sysmachineinfo);",
                 "LET os_cpu_count =  (select os_num_procs FROM ", "sysmaster:sysmachineinfo);", ""});
}

void server_size(std::string &text) {
    lines(text, {"-- If AUTO_TUNE_SERVER_SIZE is not set the set it to medium",
                 "LET result = ",
                 "(SELECT admin('MODIFY CONFIG PERSISTENT','AUTO_TUNE_SERVER_SIZE','MEDIUM')",
                 "FROM sysmaster:syscfgtab ",
                 "WHERE cf_name = 'AUTO_TUNE_SERVER_SIZE'",
                 "AND (cf_effective = 'OFF' OR cf_effective IS NULL) );",
                 "IF result < 0 THEN",
                 "LET server_size, space_size = 'MEDIUM', 100;",
                 "ELSE",
                 "--- Medium is the default and error case",
                 "SELECT NVL(cf_effective , 'MEDIUM'), ",
                 "CASE UPPER(cf_effective)",
                 "WHEN 'SMALL'  THEN 50",
                 "WHEN 'LARGE'  THEN 200 ",
                 "WHEN 'XLARGE' THEN 500 ",
                 "ELSE 100",
                 "END",
                 "INTO server_size,  space_size",
                 "FROM sysmaster:syscfgtab ",
                 "WHERE cf_name = 'AUTO_TUNE_SERVER_SIZE';",
                 "END IF",
                 "",
                 "LET tmp=0;"});
}

void pool_spaces(std::string &text) {
    pool_statement(text, "'STORAGEPOOL ADD', data_path, 0,0,'64MB',1");
    pool_statement(text, "'CREATE PLOGSPACE FROM STORAGEPOOL', 'plog', space_size||'MB'");
    pool_statement(text, "'CREATE DBSPACE FROM STORAGEPOOL', 'llog', space_size||'MB'");
    for (const char *name : {"'datadbs1'", "'datadbs2'", "'datadbs3'"}) {
        pool_statement(text,
                       std::string("'CREATE DBSPACE FROM STORAGEPOOL', ") + name + ", space_size||'MB'");
    }
    for (const char *name : {"'data8dbs1'", "'data8dbs2'", "'data8dbs3'"}) {
        pool_statement(
            text, std::string("'CREATE DBSPACE FROM STORAGEPOOL', ") + name + ", space_size||'MB', '8K'");
    }
    pool_statement(text, "'CREATE TEMPDBSPACE FROM STORAGEPOOL', 'tmpdbspace', space_size||'MB', '8K'");
    lines(
        text,
        {"{****   Set all dbspaces to grow by 10 percent or created new chunk use original size ****}",
         "FOREACH SELECT  admin('MODIFY SPACE SP_SIZES', name, space_size||'MB', 10)  AS res", "INTO result",
         "FROM sysmaster:sysdbstab", "WHERE bitand(flags, '0x8012')=0", "LET tmp=tmp+1;", "END FOREACH",
         "LET result =  admin('CREATE SBSPACE FROM STORAGEPOOL', 'sbspace1', space_size||'MB', 1); ",
         "LET result =  admin('modify space sp_sizes', 'sbspace1', 100, 10 );",
         "LET result =  admin('CREATE TEMPSBSPACE FROM STORAGEPOOL', 'tmpsbspace', space_size||'MB');",
         "LET result =  admin('MODIFY SPACE SP_SIZES', 'tmpsbspace', 100, 10 );",
         "{****   Register the default spaces  ****}",
         "LET result =  admin('MODIFY CONFIG PERSISTENT','SBSPACENAME','sbspace1');",
         "LET result =  admin('MODIFY CONFIG PERSISTENT','DBSPACETEMP','tmpdbspace');",
         "LET result =  admin('MODIFY CONFIG PERSISTENT','SBSPACETEMP','tmpsbspace');", ""});
}

// The end of every loop after the first: its counter, its end, a blank line.
constexpr std::string_view kLoopEnd = "LET tmp=tmp+1;\nEND FOREACH\n\n";

void logs(std::string &text) {
    lines(text, {"{****   Add 10 logical logs consuming the entire log space ****}", "FOREACH SELECT  ",
                 "admin('add log','llog',",
                 "((SUM(nfree*D.pagesize/1024)/100)::integer*100)/10 ||' KB',10,'true') AS res",
                 "INTO result", "FROM sysmaster:syschktab C, sysmaster:sysdbstab D", "WHERE D.name='llog'",
                 "AND   C.dbsnum=D.dbsnum"});
    text.append(kLoopEnd);
    lines(text, {"{****   Drop all logical logs in the rootdbs but the current log ****}",
                 "FOREACH SELECT admin('drop log', number) AS res", "INTO result", "FROM sysmaster:syslogfil",
                 "WHERE chunk = 1 AND sysmaster:bitval(flags,'0x02')==0"});
    text.append(kLoopEnd);
    lines(text, {"FOREACH SELECT admin('onmode', 'l') ", "INTO result", "FROM sysmaster:syslogfil",
                 "WHERE chunk = 1 AND sysmaster:bitval(flags,'0x02')>0"});
    text.append(kLoopEnd);
    lines(text,
          {"LET result = admin('checkpoint');", "{****   Drop the current logical log in the rootdbs ****}",
           "FOREACH SELECT admin('drop log', number)  AS res", "INTO result", "FROM sysmaster:syslogfil ",
           "WHERE chunk = 1"});
    text.append(kLoopEnd);
    lines(text, {"FOREACH SELECT admin('alter plog','plog', MAX(nfree*D.pagesize/1024) )  AS res",
                 "INTO result", "FROM sysmaster:syschktab C, sysmaster:sysdbstab D", "WHERE D.name='plog'",
                 "AND   C.dbsnum=D.dbsnum"});
    text.append(kLoopEnd);
    lines(text, {"LET result = admin('checkpoint');"});
}

void fixed_settings(std::string &text) {
    persistent(text, "AUTO_TUNE", "2");
    for (const char *name : {"AUTO_READAHEAD", "AUTO_LRU_TUNING", "AUTO_AIOVPS", "AUTO_REPREPARE",
                             "AUTO_STAT_MODE", "AUTO_CKPTS"}) {
        persistent(text, name, "1");
    }
    persistent(text, "AUTO_LLOG", "1,llog");
    persistent(text, "AUTO_SERVER_RESTART", "300");
    persistent(text, "DEF_TABLE_LOCKMODE", "row");
    lines(text, {"---Ensure BAR_BSALIB_PATH is set to the default"});
    persistent(text, "BAR_BSALIB_PATH", "");
    lines(text, {"LET result = (SELECT admin('modify config persistent','DS_TOTAL_MEMORY','64000') FROM "
                 "sysmaster:syscfgtab WHERE cf_name matches 'DS_TOTAL_MEMORY' AND cf_effective < 64000);"});
    persistent(text, "DS_NONPDQ_QUERY_MEM", "2048");
    persistent(text, "DS_MAX_QUERIES", "4");
    persistent(text, "LTAPEDEV", "nul");
    for (const char *name : {"TEMPTAB_NOLOG", "USTLOW_SAMPLE", "EXT_DIRECTIVES", "DIRECTIVES"}) {
        persistent(text, name, "1");
    }
    persistent(text, "DUMPSHMEM", "2");
    lines(text, {""});
}

void memory_and_replication(std::string &text) {
    lines(text, {"{****   If we have less than 1GB free set it to 16MB ",
                 "else MIN( 1/12 of what is free, 2GB) ****}", "IF os_memfree< 1024 THEN", "-- 16 MB",
                 "LET result = admin('modify config persistent','SHMADD', 16*1024);",
                 "ELIF os_memfree > 24*1024 THEN", "-- 2 GB",
                 "LET result = admin('modify config persistent','SHMADD', 2*1024*1024);", "ELSE",
                 "-- 1/12 of free memory",
                 "LET result = admin('modify config persistent','SHMADD', (os_memfree/12)*1024);", "END IF",
                 "", "--- Configure Enterprise Replication and Secondary Servers config parameters "});
    persistent(text, "CDR_AUTO_DISCOVER", "1");
    persistent(text, "CDR_SUPPRESS_ATSRISWARN", "2,3,4,14");
    persistent(text, "CDR_NIFCOMPRESS", "1");
    persistent(text, "SMX_COMPRESS", "1");
    persistent(text, "ENABLE_SNAPSHOT_COPY", "0");
    lines(text, {"LET os_cpu_count =  (select os_num_procs FROM sysmaster:sysmachineinfo);",
                 "",
                 "-- Set minimum value for CDR_QUEMEM to 16MB",
                 "LET cdr_queuemem_var = 16384;",
                 "",
                 "-- If OS free mem > 1GB then set CDR_QUEMEM value to 1/10th of OS free memory.",
                 "IF os_memfree > 1024 THEN",
                 "LET cdr_queuemem_var = (os_memfree/10) * 1024;",
                 "END IF",
                 "",
                 "-- Limit CDR_QUEMEM to siace_size. space_size is set based on AUTO_TUNE_SERVER_SIZE.",
                 "IF cdr_queuemem_var > (space_size*1024) THEN",
                 "LET cdr_queuemem_var = space_size * 1024;",
                 "END IF",
                 "",
                 "LET tmpstr = 'CDR_QUEUEMEM '|| cdr_queuemem_var;",
                 "LET tmpstr = \"'\"||tmpstr||\"'\";",
                 "LET result = admin('cdr change onconfig', tmpstr);",
                 "",
                 "-- Configure CDR_APPLY based on processor count",
                 "LET tmpstr = os_cpu_count||','||4*os_cpu_count;",
                 "LET result = admin('modify config persistent','CDR_APPLY', tmpstr);",
                 "",
                 "-- Configure CDR_EVALTHREADS",
                 "",
                 "LET result = admin('cdr change onconfig',\"'CDR_EVALTHREADS 1,4'\");",
                 ""});
}

void secondary_servers(std::string &text, int page_kb) {
    lines(text, {"-- Configure SDS_PAGING",
                 "LET dbservname =  (select dbservername from sysmaster:systables where tabid=1);",
                 "LET tmpstr = data_path||'/'||'qvx_sds_paging1_'||TRIM(dbservname)",
                 "||','||data_path||'/'||'qvx_sds_paging2_'||TRIM(dbservname);",
                 "LET result = admin('modify config persistent','SDS_PAGING', tmpstr);", "",
                 "-- Configure SDS_TEMPDBS", "LET tmpstr = 'qvx_sds_tmpdbs_'||TRIM(dbservname)",
                 "||','||data_path||'/'||'qvx_sds_tmpdbs_'||TRIM(dbservname)"});
    text.append("||',").append(std::to_string(page_kb)).append(",0,'||space_size||'M';\n");
    lines(text, {"LET result = admin('modify config persistent','SDS_TEMPDBS', tmpstr);",
                 "",
                 "-- Configure OFF_RECVRY_THREADS",
                 "-- Set minimum value for OFF_RECVRY_THREADS based on server_size",
                 "IF (server_size = 'SMALL' ) THEN",
                 "LET tmpint = 11;",
                 "ELIF (server_size = 'MEDIUM' ) THEN",
                 "LET tmpint = 23;",
                 "ELSE",
                 "LET tmpint = 31;",
                 "END IF;",
                 "-- Set OFF_RECVRY_THREADS to three times processor count",
                 "IF (os_cpu_count * 3) > tmpint THEN",
                 "LET tmpint = os_cpu_count * 3;",
                 "END IF",
                 "LET result = admin('modify config persistent','OFF_RECVRY_THREADS', tmpint);",
                 "{",
                 "** DISABLED FOR NOW.",
                 "** Enable log staging for ER and set max size for staging area to be",
                 "** same size as total logical log space allocated.",
                 "LET tmpint = (select sum(A.size*D.pagesize/(1024*1024))::integer from ",
                 "sysmaster:syslogs A, sysmaster:sysdbstab D where D.name='llog');",
                 "LET tmpstr = tmpint||'MB';",
                 "LET result = admin('modify config persistent','CDR_LOG_STAGING_MAXSIZE', tmpstr);",
                 "LET result = admin('modify config persistent','CDR_LOG_LAG_ACTION', 'logstage+ddrblock');",
                 "-- NOTE: LOG_STAGING_DIR should not have read permissions for others.",
                 "LET result = admin('modify config persistent','LOG_STAGING_DIR', data_path);",
                 "}",
                 ""});
}

void listener_task(std::string &text) {
    lines(text, {"---Start the Wire listener only if the property file exists. ",
                 "---Check for non exist error on the path name",
                 "DELETE FROM ph_threshold WHERE name MATCHES 'JSON LISTENER PROP*';",
                 "LET tmp = ( SELECT count(*) ",
                 "FROM sysmaster:sysdual ",
                 "WHERE task('print file info', TRIM(qvxdir)||'/etc/'||TRIM(json_listener))",
                 "MATCHES '*Error*= 2*');",
                 "IF tmp > 0 THEN ",
                 "--- no java property file",
                 "UPDATE sysadmin:ph_task ",
                 "SET (tk_enable)=('f') ",
                 "WHERE tk_name = 'Json Listener';",
                 "ELSE",
                 "--- java property file exists",
                 "INSERT INTO ph_threshold(id,name,task_name,value,description)",
                 "VALUES",
                 "(0,'JSON LISTENER PROPERTY', 'Json Listener',",
                 "json_listener, 'JSON listener property filename.');",
                 "UPDATE sysadmin:ph_task ",
                 "SET (tk_enable)=('t') ",
                 "WHERE tk_name = 'Json Listener';",
                 "END IF;"});
}

}  // namespace

std::string demo_routine(bool json_listener, int page_kb) {
    std::string text;
    text.reserve(12 * 1024);
    head(text, json_listener);
    server_size(text);
    pool_spaces(text);
    logs(text);
    fixed_settings(text);
    memory_and_replication(text);
    secondary_servers(text, page_kb);
    if (json_listener) listener_task(text);
    lines(text, {"---Enable auto log rotate",
                 "UPDATE sysadmin:ph_task SET (tk_enable)=('t') WHERE tk_name = 'online_log_rotate';",
                 "RETURN result;", "END FUNCTION;"});
    return text;
}

}  // namespace dpl::deploy
