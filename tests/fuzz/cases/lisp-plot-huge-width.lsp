;; A plot 32767 pixels wide asks for an image of about 4 GB.
(vl-catch-all-apply 'kvhost-plot (list "huge.png" 32767))
(princ "\nkvfuzz: batch done\n")
