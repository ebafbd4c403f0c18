/*
Success:type
Position: XXX is a type without pointers (such as a bit): an object and its size.
*/
unsigned long kw_n = sizeof(XXX);
XXX kw_v;
