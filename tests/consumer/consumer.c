/* Uses the installed library through its public header only: if the
   package's include directory, import library or runtime is missing, this
   does not build, link or start. */
#include <dpl/dpl.h>
#include <stdio.h>
#include <string.h>

static int failures = 0;

static void expect(int condition, const char *what) {
    if (!condition) {
        printf("consumer: FAILED %s\n", what);
        failures++;
    }
}

int main(void) {
    char *protocol;
    InstallControlBlock *block;

    expect(dplCompareVers("12.10.FC1", "11.50.FC9") == DPL_VERS_NEWER, "version comparison");
    expect(dplParseSize("2 MB") == 2048, "size text");

    protocol = dplMapProtocol(dplMapStringtoProtocol("onsoctcp"));
    expect(protocol != NULL && strcmp(protocol, "onsoctcp") == 0, "protocol round trip");
    dplFree(protocol);

    block = init_API(0, 1, "Orvandex", "12.10");
    expect(block != NULL, "init_API");
    if (block != NULL) {
        expect(dplSetEnvironment(block, "ORVANDEXSERVER", "ol_consumer") == DPL_OK, "environment");
        expect(finish(block) == DPL_OK, "finish");
    }
    expect(finish(NULL) == DPL_E_BAD_CONTEXT, "a null block is refused");

    printf("consumer: %s\n", failures == 0 ? "ok" : "failed");
    return failures == 0 ? 0 : 1;
}
