#include "core/event_types.h"

int getEventType(int id) {
    switch (id) {
    case 708:
        return 1;
    case 356:
    case 359:
    case 360:
    case 434:
    case 435:
        return 2;
    case 678:
    case 680:
        return 3;
    case 383:
    case 384:
    case 385:
    case 386:
    case 388:
    case 390:
        return 4;
    case 397:
    case 398:
    case 538:
    case 539:
    case 540:
    case 681:
    case 683:
    case 1179:
    case 1180:
    case 1181:
    case 1182:
    case 1183:
        return 5;
    case 1150: // the RMC's numbers, but nobody here raises them
    case 1151:
    default:
        return -1;
    }
}
