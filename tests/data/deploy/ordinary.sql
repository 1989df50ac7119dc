DATABASE sysadmin;
GRANT DBA TO @USER@;
GRANT DBA TO "@USER@";

EXECUTE FUNCTION task("create dbspace", "datadbs", "@DATADBS@", 102400, 0, 4, 16, 32);

EXECUTE FUNCTION task("add mirror", "datadbs", "@DATADBS@", 102400, 0, "@MIRROR@", 8);
EXECUTE FUNCTION task("start mirroring", "datadbs");


EXECUTE FUNCTION task("create tempdbspace", "tmpdbs", "@TMPDBS@", 8192, 0);


EXECUTE FUNCTION task("create sbspace", "sbspace", "@SBSPACE@", 51200, 4);


EXECUTE FUNCTION task("create sbspace", "tmpsbs", "@TMPSBS@", 20480, 0);


EXECUTE FUNCTION task("create blobspace", "blobs", "@BLOBS@", 10240, 0, 8);


EXECUTE FUNCTION task("create dbspace", "plogdbs", "@PLOGDBS@", 40960, 0);


EXECUTE FUNCTION task("create dbspace", "llogdbs", "@LLOGDBS@", 61440, 0);


EXECUTE FUNCTION task("alter plog", "plogdbs", "30720");



EXECUTE FUNCTION task("add log", "llogdbs", "5000", "10");

EXECUTE FUNCTION task("onmode", "l");

EXECUTE FUNCTION task("onmode", "l");

EXECUTE FUNCTION task("onmode", "l");

EXECUTE FUNCTION task("onmode", "l");

EXECUTE FUNCTION task("onmode", "l");

EXECUTE FUNCTION task("onmode", "l");
EXECUTE FUNCTION task("onmode", "c");
EXECUTE FUNCTION task("drop log", "1");
EXECUTE FUNCTION task("drop log", "2");
EXECUTE FUNCTION task("drop log", "3");
EXECUTE FUNCTION task("drop log", "4");
EXECUTE FUNCTION task("drop log", "5");
EXECUTE FUNCTION task("drop log", "6");

CLOSE DATABASE;


