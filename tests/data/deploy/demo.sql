DATABASE sysadmin;
GRANT DBA TO @USER@;
GRANT DBA TO "@USER@";
DROP FUNCTION IF EXISTS qvx_setup_system( VARCHAR(255) );
CREATE FUNCTION qvx_setup_system( data_path VARCHAR(255) DEFAULT '$ORVANDEXDIR/tmp') 
RETURNING INTEGER
DEFINE result  INTEGER;
DEFINE tmp     BIGINT;
DEFINE server_size     VARCHAR(32);
DEFINE space_size      INTEGER;
DEFINE qvxdir          VARCHAR(255);
@J@DEFINE json_listener   VARCHAR(64);
DEFINE os_memfree      BIGINT;
DEFINE os_cpu_count    INTEGER;
DEFINE cdr_queuemem_var  INTEGER;
DEFINE tmpstr          LVARCHAR(1024);
DEFINE tmpint          INTEGER;
DEFINE dbservname      VARCHAR(128);


LET qvxdir = (SELECT env_value 
FROM sysmaster:sysenv 
WHERE env_name = 'ORVANDEXDIR');
--SET DEBUG FILE TO TRIM(qvxdir)||'/tmp/orvandex_setup.out';
--SET DEBUG FILE TO '/tmp/orvandex_setup.out';
--TRACE ON;

@J@LET json_listener = 'jsonListener.properties';
LET os_memfree = (select os_mem_free/(1024*1024) FROM 
sysmaster:sysmachineinfo);
LET os_cpu_count =  (select os_num_procs FROM 
sysmaster:sysmachineinfo);

-- If AUTO_TUNE_SERVER_SIZE is not set the set it to medium
LET result = 
(SELECT admin('MODIFY CONFIG PERSISTENT','AUTO_TUNE_SERVER_SIZE','MEDIUM')
FROM sysmaster:syscfgtab 
WHERE cf_name = 'AUTO_TUNE_SERVER_SIZE'
AND (cf_effective = 'OFF' OR cf_effective IS NULL) );
IF result < 0 THEN
LET server_size, space_size = 'MEDIUM', 100;
ELSE
--- Medium is the default and error case
SELECT NVL(cf_effective , 'MEDIUM'), 
CASE UPPER(cf_effective)
WHEN 'SMALL'  THEN 50
WHEN 'LARGE'  THEN 200 
WHEN 'XLARGE' THEN 500 
ELSE 100
END
INTO server_size,  space_size
FROM sysmaster:syscfgtab 
WHERE cf_name = 'AUTO_TUNE_SERVER_SIZE';
END IF

LET tmp=0;
LET result =  admin('STORAGEPOOL ADD', data_path, 0,0,'64MB',1); 
LET result =  admin('CREATE PLOGSPACE FROM STORAGEPOOL', 'plog', space_size||'MB'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'llog', space_size||'MB'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'datadbs1', space_size||'MB'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'datadbs2', space_size||'MB'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'datadbs3', space_size||'MB'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'data8dbs1', space_size||'MB', '8K'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'data8dbs2', space_size||'MB', '8K'); 
LET result =  admin('CREATE DBSPACE FROM STORAGEPOOL', 'data8dbs3', space_size||'MB', '8K'); 
LET result =  admin('CREATE TEMPDBSPACE FROM STORAGEPOOL', 'tmpdbspace', space_size||'MB', '8K'); 
{****   Set all dbspaces to grow by 10 percent or created new chunk use original size ****}
FOREACH SELECT  admin('MODIFY SPACE SP_SIZES', name, space_size||'MB', 10)  AS res
INTO result
FROM sysmaster:sysdbstab
WHERE bitand(flags, '0x8012')=0
LET tmp=tmp+1;
END FOREACH
LET result =  admin('CREATE SBSPACE FROM STORAGEPOOL', 'sbspace1', space_size||'MB', 1); 
LET result =  admin('modify space sp_sizes', 'sbspace1', 100, 10 );
LET result =  admin('CREATE TEMPSBSPACE FROM STORAGEPOOL', 'tmpsbspace', space_size||'MB');
LET result =  admin('MODIFY SPACE SP_SIZES', 'tmpsbspace', 100, 10 );
{****   Register the default spaces  ****}
LET result =  admin('MODIFY CONFIG PERSISTENT','SBSPACENAME','sbspace1');
LET result =  admin('MODIFY CONFIG PERSISTENT','DBSPACETEMP','tmpdbspace');
LET result =  admin('MODIFY CONFIG PERSISTENT','SBSPACETEMP','tmpsbspace');

{****   Add 10 logical logs consuming the entire log space ****}
FOREACH SELECT  
admin('add log','llog',
((SUM(nfree*D.pagesize/1024)/100)::integer*100)/10 ||' KB',10,'true') AS res
INTO result
FROM sysmaster:syschktab C, sysmaster:sysdbstab D
WHERE D.name='llog'
AND   C.dbsnum=D.dbsnum
LET tmp=tmp+1;
END FOREACH

{****   Drop all logical logs in the rootdbs but the current log ****}
FOREACH SELECT admin('drop log', number) AS res
INTO result
FROM sysmaster:syslogfil
WHERE chunk = 1 AND sysmaster:bitval(flags,'0x02')==0
LET tmp=tmp+1;
END FOREACH

FOREACH SELECT admin('onmode', 'l') 
INTO result
FROM sysmaster:syslogfil
WHERE chunk = 1 AND sysmaster:bitval(flags,'0x02')>0
LET tmp=tmp+1;
END FOREACH

LET result = admin('checkpoint');
{****   Drop the current logical log in the rootdbs ****}
FOREACH SELECT admin('drop log', number)  AS res
INTO result
FROM sysmaster:syslogfil 
WHERE chunk = 1
LET tmp=tmp+1;
END FOREACH

FOREACH SELECT admin('alter plog','plog', MAX(nfree*D.pagesize/1024) )  AS res
INTO result
FROM sysmaster:syschktab C, sysmaster:sysdbstab D
WHERE D.name='plog'
AND   C.dbsnum=D.dbsnum
LET tmp=tmp+1;
END FOREACH

LET result = admin('checkpoint');
LET result = admin('modify config persistent','AUTO_TUNE','2');
LET result = admin('modify config persistent','AUTO_READAHEAD','1');
LET result = admin('modify config persistent','AUTO_LRU_TUNING','1');
LET result = admin('modify config persistent','AUTO_AIOVPS','1');
LET result = admin('modify config persistent','AUTO_REPREPARE','1');
LET result = admin('modify config persistent','AUTO_STAT_MODE','1');
LET result = admin('modify config persistent','AUTO_CKPTS','1');
LET result = admin('modify config persistent','AUTO_LLOG','1,llog');
LET result = admin('modify config persistent','AUTO_SERVER_RESTART','300');
LET result = admin('modify config persistent','DEF_TABLE_LOCKMODE','row');
---Ensure BAR_BSALIB_PATH is set to the default
LET result = admin('modify config persistent','BAR_BSALIB_PATH','');
LET result = (SELECT admin('modify config persistent','DS_TOTAL_MEMORY','64000') FROM sysmaster:syscfgtab WHERE cf_name matches 'DS_TOTAL_MEMORY' AND cf_effective < 64000);
LET result = admin('modify config persistent','DS_NONPDQ_QUERY_MEM','2048');
LET result = admin('modify config persistent','DS_MAX_QUERIES','4');
LET result = admin('modify config persistent','LTAPEDEV','nul');
LET result = admin('modify config persistent','TEMPTAB_NOLOG','1');
LET result = admin('modify config persistent','USTLOW_SAMPLE','1');
LET result = admin('modify config persistent','EXT_DIRECTIVES','1');
LET result = admin('modify config persistent','DIRECTIVES','1');
LET result = admin('modify config persistent','DUMPSHMEM','2');

{****   If we have less than 1GB free set it to 16MB 
else MIN( 1/12 of what is free, 2GB) ****}
IF os_memfree< 1024 THEN
-- 16 MB
LET result = admin('modify config persistent','SHMADD', 16*1024);
ELIF os_memfree > 24*1024 THEN
-- 2 GB
LET result = admin('modify config persistent','SHMADD', 2*1024*1024);
ELSE
-- 1/12 of free memory
LET result = admin('modify config persistent','SHMADD', (os_memfree/12)*1024);
END IF

--- Configure Enterprise Replication and Secondary Servers config parameters 
LET result = admin('modify config persistent','CDR_AUTO_DISCOVER','1');
LET result = admin('modify config persistent','CDR_SUPPRESS_ATSRISWARN','2,3,4,14');
LET result = admin('modify config persistent','CDR_NIFCOMPRESS','1');
LET result = admin('modify config persistent','SMX_COMPRESS','1');
LET result = admin('modify config persistent','ENABLE_SNAPSHOT_COPY','0');
LET os_cpu_count =  (select os_num_procs FROM sysmaster:sysmachineinfo);

-- Set minimum value for CDR_QUEMEM to 16MB
LET cdr_queuemem_var = 16384;

-- If OS free mem > 1GB then set CDR_QUEMEM value to 1/10th of OS free memory.
IF os_memfree > 1024 THEN
LET cdr_queuemem_var = (os_memfree/10) * 1024;
END IF

-- Limit CDR_QUEMEM to siace_size. space_size is set based on AUTO_TUNE_SERVER_SIZE.
IF cdr_queuemem_var > (space_size*1024) THEN
LET cdr_queuemem_var = space_size * 1024;
END IF

LET tmpstr = 'CDR_QUEUEMEM '|| cdr_queuemem_var;
LET tmpstr = "'"||tmpstr||"'";
LET result = admin('cdr change onconfig', tmpstr);

-- Configure CDR_APPLY based on processor count
LET tmpstr = os_cpu_count||','||4*os_cpu_count;
LET result = admin('modify config persistent','CDR_APPLY', tmpstr);

-- Configure CDR_EVALTHREADS

LET result = admin('cdr change onconfig',"'CDR_EVALTHREADS 1,4'");

-- Configure SDS_PAGING
LET dbservname =  (select dbservername from sysmaster:systables where tabid=1);
LET tmpstr = data_path||'/'||'qvx_sds_paging1_'||TRIM(dbservname)
||','||data_path||'/'||'qvx_sds_paging2_'||TRIM(dbservname);
LET result = admin('modify config persistent','SDS_PAGING', tmpstr);

-- Configure SDS_TEMPDBS
LET tmpstr = 'qvx_sds_tmpdbs_'||TRIM(dbservname)
||','||data_path||'/'||'qvx_sds_tmpdbs_'||TRIM(dbservname)
||',4,0,'||space_size||'M';
LET result = admin('modify config persistent','SDS_TEMPDBS', tmpstr);

-- Configure OFF_RECVRY_THREADS
-- Set minimum value for OFF_RECVRY_THREADS based on server_size
IF (server_size = 'SMALL' ) THEN
LET tmpint = 11;
ELIF (server_size = 'MEDIUM' ) THEN
LET tmpint = 23;
ELSE
LET tmpint = 31;
END IF;
-- Set OFF_RECVRY_THREADS to three times processor count
IF (os_cpu_count * 3) > tmpint THEN
LET tmpint = os_cpu_count * 3;
END IF
LET result = admin('modify config persistent','OFF_RECVRY_THREADS', tmpint);
{
** DISABLED FOR NOW.
** Enable log staging for ER and set max size for staging area to be
** same size as total logical log space allocated.
LET tmpint = (select sum(A.size*D.pagesize/(1024*1024))::integer from 
sysmaster:syslogs A, sysmaster:sysdbstab D where D.name='llog');
LET tmpstr = tmpint||'MB';
LET result = admin('modify config persistent','CDR_LOG_STAGING_MAXSIZE', tmpstr);
LET result = admin('modify config persistent','CDR_LOG_LAG_ACTION', 'logstage+ddrblock');
-- NOTE: LOG_STAGING_DIR should not have read permissions for others.
LET result = admin('modify config persistent','LOG_STAGING_DIR', data_path);
}

@J@---Start the Wire listener only if the property file exists. 
@J@---Check for non exist error on the path name
@J@DELETE FROM ph_threshold WHERE name MATCHES 'JSON LISTENER PROP*';
@J@LET tmp = ( SELECT count(*) 
@J@FROM sysmaster:sysdual 
@J@WHERE task('print file info', TRIM(qvxdir)||'/etc/'||TRIM(json_listener))
@J@MATCHES '*Error*= 2*');
@J@IF tmp > 0 THEN 
@J@--- no java property file
@J@UPDATE sysadmin:ph_task 
@J@SET (tk_enable)=('f') 
@J@WHERE tk_name = 'Json Listener';
@J@ELSE
@J@--- java property file exists
@J@INSERT INTO ph_threshold(id,name,task_name,value,description)
@J@VALUES
@J@(0,'JSON LISTENER PROPERTY', 'Json Listener',
@J@json_listener, 'JSON listener property filename.');
@J@UPDATE sysadmin:ph_task 
@J@SET (tk_enable)=('t') 
@J@WHERE tk_name = 'Json Listener';
@J@END IF;
---Enable auto log rotate
UPDATE sysadmin:ph_task SET (tk_enable)=('t') WHERE tk_name = 'online_log_rotate';
RETURN result;
END FUNCTION;


EXECUTE FUNCTION qvx_setup_system('@DATA@');
CLOSE DATABASE;


