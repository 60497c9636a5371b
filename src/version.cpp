// Present so that a build with no subsystem selected still links.
