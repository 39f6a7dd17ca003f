/* Prints the versions of the modules named on its command line, loading each; "-" is none. */
#include <q32base/loaded_version.h>
#include <stdio.h>

int main(int count, char **names) {
    int i;
    for (i = 1; i < count; i++)
        printf("%d ", q32VersionOfModule(names[i][0] == '-' ? 0 : LoadLibraryA(names[i])));
    printf("%d\n", q32LoadedVersion());
    return 0;
}
