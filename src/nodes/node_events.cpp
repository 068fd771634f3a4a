#include "nodes/node_events.h"

void pass_event_on(ZestNode node, ZestEvent event) {
    zest_event_post(zest_node_parent_sink(node), event);
    zest_event_destroy(event);
}

void originate_event(ZestNode node) {
    ZestEvent event = zest_event_create();
    zest_event_post(zest_node_child_sink(node), event);
    zest_event_destroy(event);
}
