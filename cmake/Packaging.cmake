# packaging set below
