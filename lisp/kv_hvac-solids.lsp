;;; The three-dimensional model of a duct system. The module builds one duct's pieces a call at
;;; a time; this layer drives the whole system: every fitting first, since each records how far
;;; it reaches into the ducts it joins, then the straight remainders and flexible runs, then the
;;; diffusers that stand by themselves. KV-3DMODEL builds the model of the current drawing,
;;; KV-3DSTEP builds it and writes it to a STEP file beside the drawing.

;; The entity names of a drawing function's answer (("Solid" . e) ...), nils left out.
(defun solids-names (answer / names)
  (foreach pair answer
    (if (and (listp pair) (eq (type (cdr pair)) 'ENAME)) (setq names (cons (cdr pair) names))))
  (reverse names))

;; The integers of the first column of a query on the current project.
(defun solids-indices (sql / file)
  (if (setq file (projectdb-currentFile))
    (mapcar 'fix (vl-remove nil (kvdb-query file sql)))))

(defun solids-ductsWhere (condition)
  (solids-indices (strcat "SELECT ixDuct FROM tblDuct WHERE (bDeleted = 0 OR bDeleted IS NULL) AND "
                          condition " ORDER BY ixDuct")))

;; Builds the solids of DUCTS (a list of ixDuct, nil for every duct of the project) and of the
;; project's diffusers that have no duct. OPTION is passed on untouched, CONVERT says whether
;; rows go through the alignment points. The entity names of everything built.
(defun kv_hvac-solids-build (ducts option convert / flexible rigid built)
  (if (null ducts) (setq ducts (solids-ductsWhere "1 = 1")))
  (setq flexible (vl-remove-if-not '(lambda (ix) (member ix ducts)) (solids-ductsWhere "MATERIAL = 'FX'"))
        rigid (vl-remove-if '(lambda (ix) (member ix flexible)) ducts))
  (foreach ix ducts
    (setq built (append built (solids-names (kv_hvac-drawTripleFitting ix option convert)))))
  ;; A flexible run clears the reach of the duct before it, so that duct's straight piece comes
  ;; after it.
  (foreach ix (append flexible rigid)
    (setq built (append built (solids-names (kv_hvac-drawTripleCenter ix option convert)))))
  (foreach ix (solids-indices "SELECT ixDiffL FROM tblDiffL WHERE ixDuct IS NULL AND (bDeleted = 0 OR bDeleted IS NULL)")
    (setq built (append built (solids-names (kv_hvac-drawTripleDiffuser ix option convert)))))
  built)

;; Writes every solid of model space to PATH as STEP, labelled in the drawing's real unit:
;; millimetres when METRIC, else inches. The number of bodies written.
(defun kv_hvac-solids-exportStep (path metric)
  (kv_solid-exportStep path nil (if metric "MM" "INCH")))

;; Whether the project's drawings are in millimetres; the commands read it.
(if (not (boundp '*kv_hvac-solids-metric*)) (setq *kv_hvac-solids-metric* nil))

(defun C:KV-3DMODEL (/ built)
  (setq built (kv_hvac-solids-build nil 0 nil))
  (princ (strcat "\n" (itoa (length built)) " solids built."))
  (princ))

(defun C:KV-3DSTEP (/ built drawing path written)
  (setq built (kv_hvac-solids-build nil 0 nil)
        drawing (kvhost-current)
        path (strcat (vl-filename-directory drawing) "/" (vl-filename-base drawing) ".step")
        written (kv_hvac-solids-exportStep path *kv_hvac-solids-metric*))
  (princ (strcat "\n" (itoa (length built)) " solids built, " (itoa written) " bodies written to " path "."))
  (princ))
