;;; The three-dimensional model of a duct system. The module builds one duct's pieces a call at
;;; a time; this layer drives the whole system: every fitting first, since each records how far
;;; it reaches into the ducts it joins, then the straight remainders and flexible runs, then the
;;; diffusers that stand by themselves. KV-MODEL (with the other commands) builds the model of
;;; the current drawing, KV-3DSTEP builds it and writes it to a STEP file beside the drawing.

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

;; The duct commands draw ducts end to start but leave rows and graph to whoever needs them:
;; the model reads each duct's ends from its row, so every row is first brought in step with
;; its entity. Then a duct whose end lies on the start of another leads into it, unless the
;; graph already says what follows the one or leads into the other; of several that start
;; there, the one that runs on most nearly straight comes first, as a tee's run does. The
;; number of links made.
(defun solids-connectDrawn (/ ducts made ix p q run outs)
  (setq ducts (mapcar '(lambda (e / d) (ducts-rowFromEntity e) (setq d (entget e))
                         (list (cdr (assoc 90 d)) (cdr (assoc 10 d)) (cdr (assoc 11 d))))
                      (ssgetx-duct))
        made 0)
  (foreach a ducts
    (setq ix (car a) p (cadr a) q (caddr a) run (mapcar '- q p))
    (if (null (ductgraph-get "next" ix))
      (progn
        (setq outs (vl-remove-if-not
                     '(lambda (b) (and (/= (car b) ix) (equal (cadr b) q 1e-6) (null (ductgraph-get "prev" (car b)))))
                     ducts))
        (foreach b (vl-sort outs '(lambda (m n) (> (solids-along run m) (solids-along run n))))
          (if (ductgraph-connect ix (car b)) (setq made (1+ made)))))))
  made)

;; How nearly duct B (ix start end) runs on along RUN: the cosine between them.
(defun solids-along (run b / v l1 l2)
  (setq v (mapcar '- (caddr b) (cadr b))
        l1 (sqrt (apply '+ (mapcar '* run run)))
        l2 (sqrt (apply '+ (mapcar '* v v))))
  (if (or (zerop l1) (zerop l2)) -2.0 (/ (apply '+ (mapcar '* run v)) (* l1 l2))))

;; The model of a whole drawing takes a while: a command sets *SOLIDS-PROGRESS* to hear how far
;; it is, as the stage begun and the solids built so far.
(setq *solids-progress* nil)
(defun solids-progress (stage built)
  (if *solids-progress* (princ (strcat "\nModel: " stage "... (" (itoa (length built)) " solids so far)"))))

;; Builds the solids of DUCTS (a list of ixDuct, nil for every duct of the project) and of the
;; project's diffusers that have no duct. OPTION is passed on untouched, CONVERT says whether
;; rows go through the alignment points. The entity names of everything built.
(defun kv_hvac-solids-build (ducts option convert / flexible rigid built)
  (if (null ducts) (setq ducts (solids-ductsWhere "1 = 1")))
  (solids-connectDrawn)
  (setq flexible (vl-remove-if-not '(lambda (ix) (member ix ducts)) (solids-ductsWhere "MATERIAL = 'FX'"))
        rigid (vl-remove-if '(lambda (ix) (member ix flexible)) ducts))
  (solids-progress (strcat "fittings of " (itoa (length ducts)) " ducts") built)
  (foreach ix ducts
    (setq built (append built (solids-names (kv_hvac-drawTripleFitting ix option convert)))))
  (solids-progress "straight runs" built)
  ;; A flexible run clears the reach of the duct before it, so that duct's straight piece comes
  ;; after it.
  (foreach ix (append flexible rigid)
    (setq built (append built (solids-names (kv_hvac-drawTripleCenter ix option convert)))))
  (solids-progress "diffusers" built)
  (foreach ix (solids-indices "SELECT ixDiffL FROM tblDiffL WHERE ixDuct IS NULL AND (bDeleted = 0 OR bDeleted IS NULL)")
    (setq built (append built (solids-names (kv_hvac-drawTripleDiffuser ix option convert)))))
  built)

;; Writes every solid of model space to PATH as STEP, labelled in the drawing's real unit:
;; millimetres when METRIC, else inches. The number of bodies written.
(defun kv_hvac-solids-exportStep (path metric)
  (kv_solid-exportStep path nil (if metric "MM" "INCH")))

;; Whether the project's drawings are in millimetres; the commands read it.
(if (not (boundp '*kv_hvac-solids-metric*)) (setq *kv_hvac-solids-metric* nil))

(defun C:KV-3DSTEP (/ built drawing path written)
  (setq built (kv_hvac-solids-build nil 0 nil)
        drawing (kvhost-current)
        path (strcat (vl-filename-directory drawing) "/" (vl-filename-base drawing) ".step")
        written (kv_hvac-solids-exportStep path *kv_hvac-solids-metric*))
  (princ (strcat "\n" (itoa (length built)) " solids built, " (itoa written) " bodies written to " path "."))
  (princ))
