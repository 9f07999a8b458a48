/* The numbers of the program's resources. */
#define VFLCTL_MESSAGES 101 /* docs/messages.md */
