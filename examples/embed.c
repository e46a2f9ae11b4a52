/* libvarn in a server of one's own: two resources of the device tree in argv[1].
 *
 *     cc -o embed embed.c $(pkg-config --cflags --libs varn)
 */
#include <stdio.h>
#include <stdlib.h>
#include <varn/varn.h>

/* A GET hands over a buffer that is the caller's to free. */
static int print_document(const char *path, int32_t result, char *document, uint32_t length) {
    if (result == 0 && document != NULL)
        printf("%s\n%.*s\n", path, (int)length, document);
    else
        fprintf(stderr, "%s: result %d\n", path, (int)result);
    free(document);
    return result == 0 && document != NULL ? 0 : 1;
}

int main(int argc, char **argv) {
    char *document = NULL;
    uint32_t length = 0;
    int failures = 0;
    if (argc != 2 || VARN_SetRoot(argv[1]) != 0)
        return 2;
    VARN_Init((uint32_t)-1); /* descriptor of the engine link; these two need no engine */
    int32_t result = VARN_GetDiscoveryTree(&document, &length);
    failures += print_document("/DevMgmt/DiscoveryTree.xml", result, document, length);
    document = NULL;
    result = eSCL_GetScanCapa2(&document, &length, 0); /* 0: the request came over plain HTTP */
    failures += print_document("/eSCL/ScannerCapabilities", result, document, length);
    return failures;
}
